// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdateWindow.h"

#include "App/UpdaterController.h"

#include <utility>

namespace Tarnwick {

namespace {

using Stage = UpdaterController::Stage;

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
}

UpdateWindow::~UpdateWindow() = default;

void UpdateWindow::follow()
{
    const Stage stage = m_controller.stage();
    if (stage == Stage::None) {
        m_window.reset();
    } else if (!m_window || stage == Stage::Checking || stage == Stage::Installing) {
        bringForward();
    }
}

void UpdateWindow::bringForward()
{
    if (!m_window) {
        m_window = m_make(description());
        m_window->setClosedHandler([this] { m_controller.dismiss(); });
    }
    m_window->show();
}

} // namespace Tarnwick
