// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"

#include <variant>

namespace Tarnwick {

/// Connects to the session bus, which is found as sd_bus_open_user(3) finds it, with an empty
/// DBUS_SESSION_BUS_ADDRESS taken as none. There are no file descriptors in messages: the bus then
/// refuses a message that has one. Of a file system that does not answer, a descriptor could be
/// neither read nor closed without waiting. The connection, which may still be saying hello, or the
/// errno of the failure.
[[nodiscard]] std::variant<BusHandle, int> openSessionBus();

} // namespace Tarnwick
