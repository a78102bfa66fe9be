// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/Workspaces.h"

#include "Platform/linux/X11Display.h"
#include "Platform/linux/XcbReply.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdint>
#include <optional>

namespace Tarnwick {

namespace {

constexpr std::uint8_t bitsOfNumber = 32;

/// Of the Extended Window Manager Hints: the window is on all workspaces.
constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
/// The same: the request comes from an application.
constexpr std::uint32_t fromApplication = 1;

std::optional<std::uint32_t> number(xcb_connection_t *display, xcb_window_t window,
                                    const char *property)
{
    const xcb_get_property_cookie_t request =
        xcb_get_property(display, 0, window, atom(display, property), XCB_ATOM_CARDINAL, 0, 1);
    const XcbReply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(display, request, nullptr));
    if (!reply || reply->format != bitsOfNumber || reply->value_len != 1) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
}

xcb_window_t rootOf(xcb_connection_t *display, xcb_window_t window)
{
    const XcbReply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(display, xcb_get_geometry(display, window), nullptr));
    return reply ? reply->root : xcb_window_t{XCB_WINDOW_NONE};
}

void bringToUserOnX11(xcb_connection_t *display, xcb_window_t window)
{
    const xcb_window_t root = rootOf(display, window);
    const auto current = number(display, root, "_NET_CURRENT_DESKTOP");
    const auto own = number(display, window, "_NET_WM_DESKTOP");
    if (!current || !own || *own == *current || *own == everyWorkspace) {
        return;
    }
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = bitsOfNumber;
    message.window = window;
    message.type = atom(display, "_NET_WM_DESKTOP");
    message.data.data32[0] = *current;
    message.data.data32[1] = fromApplication;
    // NOLINTNEXTLINE(*-reinterpret-cast): an event is bytes to the library
    xcb_send_event(display, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
}

} // namespace

void Workspaces::bringToUser(QWindow &window)
{
    if (!window.isVisible()) {
        return;
    }
    if (xcb_connection_t *const display = x11Display()) {
        bringToUserOnX11(display, static_cast<xcb_window_t>(window.winId()));
    } else if (!window.isActive() &&
               QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        window.hide();
    }
}

} // namespace Tarnwick
