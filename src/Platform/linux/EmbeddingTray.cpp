// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/EmbeddingTray.h"

#include "Platform/linux/X11Display.h"
#include "Platform/linux/XcbReply.h"

#include <QCoreApplication>

#include <cstdint>

namespace Tarnwick {

EmbeddingTray::EmbeddingTray()
{
    m_display = x11Display();
    if (m_display == nullptr) {
        return;
    }
    // Qt knows the first screen of a display only.
    m_selection = atom(m_display, "_NET_SYSTEM_TRAY_S0");
    m_manager = atom(m_display, "MANAGER");
    QCoreApplication::instance()->installNativeEventFilter(this);
    look();
}

EmbeddingTray::~EmbeddingTray() = default;

bool EmbeddingTray::nativeEventFilter(const QByteArray & /*eventType*/, void *message,
                                      qintptr * /*result*/)
{
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    constexpr unsigned sentByProgram = 0x80;
    const unsigned type = event->response_type & ~sentByProgram;
    bool concernsTray = false;
    if (type == XCB_CLIENT_MESSAGE) {
        const auto *told = static_cast<const xcb_client_message_event_t *>(message);
        concernsTray = told->type == m_manager && told->data.data32[1] == m_selection;
    } else if (type == XCB_DESTROY_NOTIFY) {
        const auto *gone = static_cast<const xcb_destroy_notify_event_t *>(message);
        concernsTray = gone->window == m_owner;
    }
    if (concernsTray) {
        // After Qt, which docks its icon by the same event.
        QMetaObject::invokeMethod(
            this, [this] { look(); }, Qt::QueuedConnection);
    }
    return false;
}

void EmbeddingTray::look()
{
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_display, xcb_get_selection_owner(m_display, m_selection), nullptr));
    const xcb_window_t owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (owner == m_owner) {
        return;
    }
    m_owner = owner;
    if (owner != XCB_WINDOW_NONE) {
        // To hear of its end. Qt selects the same on the same connection.
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_display, owner, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_display);
    }
    Q_EMIT changed();
}

} // namespace Tarnwick
