// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include <sys/types.h>

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

    /// A call that was sent, or the errno of what kept it from being sent: then there is no reply.
    struct Sent
    {
        Id id = 0;
        int error = 0;
    };

    /// Calls @p member with @p argument, or with nothing; @p replied gets the reply, which may be
    /// an error.
    [[nodiscard]] Sent call(const char *member, Replied replied);
    [[nodiscard]] Sent call(const char *member, const std::string &argument, Replied replied);
    /// Calls without a reply, and without taking memory of the C++ runtime; 0, or the errno of what
    /// kept the call from being sent.
    int send(const char *member, const std::string &argument);
    /// Drops the callback of @p id, if it was not called yet.
    void forget(Id id) { m_pending.erase(id); }

    /// Requests the well-known @p name with the flags of the D-Bus specification (not those of
    /// sd-bus), and waits for up to 25 seconds; messages that come meanwhile are dispatched. The
    /// code of the reply, as the D-Bus specification numbers it, or a negative errno.
    [[nodiscard]] int requestName(const std::string &name, std::uint32_t flags);

    /// The process of the connection that owns @p name, as long as the bus says so; waits as
    /// requestName() does.
    [[nodiscard]] std::optional<pid_t> processOf(const std::string &name);

    [[nodiscard]] static bool isFromDaemon(sd_bus_message *message);

private:
    Sent start(const BusMessage &call, Replied replied);
    [[nodiscard]] std::variant<BusMessage, int> await(const BusMessage &call);
    [[nodiscard]] int process(std::chrono::steady_clock::time_point deadline);
    [[nodiscard]] sd_bus_message *make(const char *member, const std::string *argument) const;
    static int onMessage(sd_bus_message *message, void *calls, sd_bus_error *error);

    sd_bus *m_bus;
    std::map<Id, Replied> m_pending;
    BusSlot m_filter;
};

} // namespace Tarnwick
