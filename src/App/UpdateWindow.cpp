// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdateWindow.h"

#include "App/UpdaterController.h"

#include <utility>

namespace Tarnwick {

namespace {

OrdinaryWindow::Description description()
{
    return {.content = QUrl(QStringLiteral("qrc:/qt/qml/Tarnwick/UI/UpdatesRootView.qml")),
            .title = QStringLiteral("Software Update"),
            .identifier = QStringLiteral("Tarnwick.Updates"),
            .size = {440, 200}};
}

} // namespace

UpdateWindow::UpdateWindow(UpdaterController &controller, OrdinaryWindow::Maker make)
    : m_controller(controller)
    , m_make(std::move(make))
{
    connect(&m_controller, &UpdaterController::stageChanged, this, &UpdateWindow::follow);
    connect(&m_controller, &UpdaterController::askedFor, this, &UpdateWindow::bringForward);
}

UpdateWindow::~UpdateWindow() = default;

void UpdateWindow::follow()
{
    if (m_controller.stage() == UpdaterController::Stage::None) {
        m_window.reset();
    } else if (!m_window) {
        window().showWithoutFocus();
    }
}

void UpdateWindow::bringForward()
{
    window().show();
}

OrdinaryWindow &UpdateWindow::window()
{
    if (!m_window) {
        m_window = m_make(description());
        m_window->setClosedHandler([this] { m_controller.dismiss(); });
    }
    return *m_window;
}

} // namespace Tarnwick
