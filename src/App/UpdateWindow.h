// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/OrdinaryWindow.h"

#include <QObject>

#include <memory>

namespace Tarnwick {

class UpdaterController;

/// The small window that shows what a check for updates has come to: there while the controller has
/// something to show, and made anew each time, for that is seldom. It comes forward when the user
/// asks; with what nobody asked for it appears without the keyboard. Main thread.
class UpdateWindow : public QObject
{
    Q_OBJECT

public:
    /// @p controller outlives this.
    UpdateWindow(UpdaterController &controller, OrdinaryWindow::Maker make);
    ~UpdateWindow() override;

private:
    void follow();
    void bringForward();
    OrdinaryWindow &window();

    UpdaterController &m_controller;
    OrdinaryWindow::Maker m_make;
    std::unique_ptr<OrdinaryWindow> m_window; ///< null while there is nothing to show
};

} // namespace Tarnwick
