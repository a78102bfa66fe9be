// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

#include <systemd/sd-bus.h>

namespace Tarnwick {

/// The handles of sd-bus(3), each given back by its owner's end.
struct BusCloser
{
    void operator()(sd_bus *bus) const { sd_bus_flush_close_unref(bus); }
};
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;

struct BusSlotCloser
{
    void operator()(sd_bus_slot *slot) const { sd_bus_slot_unref(slot); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, BusSlotCloser>;

/// Shared, since requests wait in callbacks, which are copied.
using BusMessage = std::shared_ptr<sd_bus_message>;

/// Holds a message that somebody else owns.
inline BusMessage hold(sd_bus_message *message)
{
    return {sd_bus_message_ref(message), &sd_bus_message_unref};
}

/// Takes a new message over.
inline BusMessage take(sd_bus_message *message)
{
    return {message, &sd_bus_message_unref};
}

} // namespace Tarnwick
