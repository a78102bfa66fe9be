// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QGuiApplication>

struct xcb_connection_t;

namespace Tarnwick {

/// The X display that Qt shows the application's windows on; none where it shows them otherwise,
/// or nowhere: also its platform without a screen gives itself out as one of X11.
[[nodiscard]] inline xcb_connection_t *x11Display()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

} // namespace Tarnwick
