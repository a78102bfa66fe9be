// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/OrdinaryWindow.h"

#include <QObject>

#include <memory>

class QQuickView;

namespace Tarnwick {

/// The ordinary window as a window of Qt Quick.
class QuickOrdinaryWindow : public QObject, public OrdinaryWindow
{
    Q_OBJECT

public:
    explicit QuickOrdinaryWindow(Description description);
    ~QuickOrdinaryWindow() override;

    void show() override;
    void showWithoutFocus() override;
    void setClosedHandler(Handler handler) override;

protected:
    /// Sees the request to close the window, by whomever it is made.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeView();

    Description m_description;
    std::unique_ptr<QQuickView> m_view; ///< null until it is shown first
    Handler m_closed;
};

} // namespace Tarnwick
