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

    /// Whether an epoll instance of @p pid has the socket with @p inode, by /proc/PID/fdinfo
    /// (proc(5)). False, too, where that cannot be read. @p root is /proc. Any thread.
    [[nodiscard]] static bool contain(int root, pid_t pid, std::uint32_t inode);
};

} // namespace Tarnwick
