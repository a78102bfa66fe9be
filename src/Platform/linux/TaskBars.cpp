// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/TaskBars.h"

#include "Platform/linux/X11Display.h"
#include "Platform/linux/XcbReply.h"

#include <QWindow>

#include <array>
#include <cstdint>

namespace Tarnwick {

void TaskBars::leaveOut(QWindow &window)
{
    xcb_connection_t *display = x11Display();
    if (display == nullptr) {
        return;
    }
    // Of the Extended Window Manager Hints: what stands there when a window appears is its state.
    const std::array<xcb_atom_t, 2> states{atom(display, "_NET_WM_STATE_SKIP_TASKBAR"),
                                           atom(display, "_NET_WM_STATE_SKIP_PAGER")};
    constexpr std::uint8_t bitsOfAtom = 32;
    xcb_change_property(display, XCB_PROP_MODE_APPEND, static_cast<xcb_window_t>(window.winId()),
                        atom(display, "_NET_WM_STATE"), XCB_ATOM_ATOM, bitsOfAtom, states.size(),
                        states.data());
}

} // namespace Tarnwick
