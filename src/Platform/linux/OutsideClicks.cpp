// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/OutsideClicks.h"

#include "Platform/linux/X11Display.h"
#include "Platform/linux/XcbReply.h"

#include <QPointer>

#include <xcb/xinput.h>

#include <cstdint>

namespace Tarnwick {

namespace {

// The X Input Extension reports raw events of buttons to everyone since version 2.1.
constexpr std::uint16_t majorVersion = 2;
constexpr std::uint16_t minorVersion = 1;

/// The buttons after the third are those of wheels.
constexpr std::uint32_t lastButton = 3;

struct EventMask
{
    xcb_input_event_mask_t head;
    std::uint32_t mask;
};

void selectRawButtons(xcb_connection_t *display)
{
    xcb_discard_reply(display,
                      xcb_input_xi_query_version(display, majorVersion, minorVersion).sequence);
    const EventMask buttons{
        .head = {.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1},
        .mask =
            XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE,
    };
    const xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(display));
    xcb_input_xi_select_events(display, screens.data->root, 1, &buttons.head);
    xcb_flush(display);
}

} // namespace

void OutsideClicks::Disconnecting::operator()(xcb_connection_t *display) const
{
    xcb_disconnect(display);
}

OutsideClicks::OutsideClicks()
{
    if (x11Display() == nullptr) {
        return;
    }
    // A connection of its own: Qt selects other events of the same kind on the same window.
    m_display.reset(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(m_display.get()) != 0) {
        return;
    }
    selectRawButtons(m_display.get());
    m_arrivals = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_display.get()),
                                                   QSocketNotifier::Read);
    connect(m_arrivals.get(), &QSocketNotifier::activated, this, &OutsideClicks::readEvents);
}

OutsideClicks::~OutsideClicks() = default;

void OutsideClicks::catchUp()
{
    if (isWatching()) {
        // Events are sent before the reply to what is requested after them.
        xcb_connection_t *const display = m_display.get();
        const XcbReply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(display, xcb_get_input_focus(display), nullptr));
    }
    readEvents();
}

void OutsideClicks::readEvents()
{
    const QPointer<OutsideClicks> self(this);
    while (self && m_arrivals) {
        const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(m_display.get()));
        if (!event) {
            break;
        }
        const auto *input = reinterpret_cast<const xcb_ge_generic_event_t *>(event.get());
        if (input->response_type != XCB_GE_GENERIC) {
            continue;
        }
        // A release looks the same.
        const auto *raw = reinterpret_cast<const xcb_input_raw_button_press_event_t *>(input);
        if (raw->detail > lastButton) {
            continue;
        }
        if (input->event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
            Q_EMIT pressed();
        } else if (input->event_type == XCB_INPUT_RAW_BUTTON_RELEASE) {
            Q_EMIT released();
        }
    }
    if (self && m_arrivals && xcb_connection_has_error(m_display.get()) != 0) {
        m_arrivals->setEnabled(false);
    }
}

} // namespace Tarnwick
