// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace Tarnwick {

/// Reads the messages that answer a dump request, as netlink(7) lays them out. Whatever they hold
/// is bounds-checked. Any thread.
class NetlinkDump
{
public:
    NetlinkDump() = delete;

    /// The system calls of a dump, by the names under which their failures are reported.
    static constexpr const char *socketCall = "socket(AF_NETLINK)";
    static constexpr const char *sendCall = "send(AF_NETLINK)";
    static constexpr const char *receiveCall = "recv(AF_NETLINK)";

    /// How far a dump has come.
    struct Progress
    {
        bool isOver = false;        ///< its end or an error has come
        int error = 0;              ///< errno of the failure, or 0
        bool isInterrupted = false; ///< objects came or went meanwhile: it may not be consistent
    };

    /// Takes one object's message, without its header. False for one that is too short.
    using Take = std::function<bool(std::string_view payload)>;

    /// Passes the messages of one datagram to @p take. Those of another request than that with @p
    /// sequence are passed over. A malformed message ends the dump with EBADMSG.
    static void parse(std::string_view messages, std::uint32_t sequence, Progress &progress,
                      const Take &take);

    /// Passes the attributes at the end of a message, rtnetlink(3), to @p take; what follows a
    /// malformed one is left out.
    using TakeAttribute = std::function<void(std::uint16_t type, std::string_view value)>;
    static void parseAttributes(std::string_view attributes, const TakeAttribute &take);

    /// Reads from the netlink socket @p connection until the dump is over; errno of the failure, or
    /// 0.
    using Parse = std::function<void(std::string_view messages, Progress &progress)>;
    [[nodiscard]] static int receive(int connection, Progress &progress, const Parse &parse);
};

} // namespace Tarnwick
