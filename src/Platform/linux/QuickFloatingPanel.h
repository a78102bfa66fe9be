// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/FloatingPanel.h"

#include <QObject>

#include <memory>

class QQuickView;

namespace Tarnwick {

/// The floating panel as a window of Qt Quick.
class QuickFloatingPanel : public QObject, public FloatingPanel
{
    Q_OBJECT

public:
    QuickFloatingPanel(const QUrl &content, QSize size);
    ~QuickFloatingPanel() override;

    void setDismissHandler(Handler handler) override;
    void show(const QRect &anchor, int gap) override;

private Q_SLOTS:
    void dismissed();

private:
    std::unique_ptr<QQuickView> m_view;
    Handler m_dismissed;
};

} // namespace Tarnwick
