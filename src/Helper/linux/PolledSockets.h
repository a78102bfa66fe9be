// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include <sys/types.h>

namespace Tarnwick {

/// What a process waits for with epoll(7). A server of an event loop waits for connections on its
/// listening sockets; a descriptor that a process only passes on is in none of its loops.
class PolledSockets
{
public:
    PolledSockets() = delete;

    /// Whether the first epoll instance of @p pid, that under the lowest descriptor, has the socket
    /// with @p inode, by /proc/PID/fdinfo (proc(5)). Others may be in flight like the socket.
    /// False, too, where that cannot be read or does not come among the first descriptors. @p root
    /// is /proc. Any thread; a few system calls.
    [[nodiscard]] static bool contain(int root, pid_t pid, std::uint32_t inode);
};

} // namespace Tarnwick
