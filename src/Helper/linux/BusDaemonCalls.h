// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace Tarnwick {

/// Calls methods of the bus daemon without waiting. Only replies that the bus daemon sent count:
/// session buses deliver replies that nobody asked for, and sd-bus matches them by serial number
/// alone. So the calls are sent without a callback of sd-bus's, and the replies, which then reach
/// the filter, are matched here: a forged one is ignored, and the true one is still to come.
class BusDaemonCalls
{
public:
    using Id = std::uint64_t;
    using Replied = std::function<void(sd_bus_message *reply)>;

    static constexpr const char *service = "org.freedesktop.DBus";
    static constexpr const char *path = "/org/freedesktop/DBus";

    /// The bus outlives the calls.
    explicit BusDaemonCalls(sd_bus *bus);
    BusDaemonCalls(const BusDaemonCalls &) = delete;
    BusDaemonCalls &operator=(const BusDaemonCalls &) = delete;

    /// Calls @p member with @p argument, or with nothing; @p replied gets the reply, which may be
    /// an error. 0 when the call cannot be sent: then there is no reply.
    Id call(const char *member, Replied replied);
    Id call(const char *member, const std::string &argument, Replied replied);
    /// Calls without a reply.
    void send(const char *member, const std::string &argument);
    /// Drops the callback of @p id, if it was not called yet.
    void forget(Id id) { m_pending.erase(id); }

    /// Requests the well-known @p name with the flags of the D-Bus specification (not those of
    /// sd-bus), and waits. The code of the reply, as the D-Bus specification numbers it, or a
    /// negative errno.
    [[nodiscard]] int requestName(const std::string &name, std::uint32_t flags) const;

    [[nodiscard]] static bool isFromDaemon(sd_bus_message *message);

private:
    Id start(const BusMessage &call, Replied replied);
    [[nodiscard]] BusMessage make(const char *member, const std::string *argument) const;
    static int onMessage(sd_bus_message *message, void *calls, sd_bus_error *error);

    sd_bus *m_bus;
    std::map<Id, Replied> m_pending;
    BusSlot m_filter;
};

} // namespace Tarnwick
