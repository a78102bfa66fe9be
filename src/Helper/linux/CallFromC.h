// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/FailureReport.h"

#include <cstdlib>
#include <exception>

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

namespace Tarnwick {

/// Runs @p handler for a library of C that has called back, through whose frames no exception may
/// pass. One that comes out of it (there is no memory left, as a rule) ends the loop of @p event
/// with an error, for nobody knows what was left undone; the bus tells the clients.
template<class Handler>
int callFromC(sd_event *event, const Handler &handler) noexcept
{
    try {
        handler();
        return 0;
    } catch (const std::exception &exception) {
        reportFailure(exception.what());
        return sd_event_exit(event, EXIT_FAILURE);
    }
}

/// The same for a callback of sd-bus, whose bus is attached to the loop.
template<class Handler>
int callFromC(sd_bus_message *message, const Handler &handler) noexcept
{
    return callFromC(sd_bus_get_event(sd_bus_message_get_bus(message)), handler);
}

} // namespace Tarnwick
