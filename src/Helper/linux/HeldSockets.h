// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/SocketDump.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <variant>

#include <sys/types.h>

namespace Tarnwick {

/// The sockets of one process, by a look at each of its descriptors: for the rare answer that must
/// not rest on a scan, which takes what it cannot look at for not there. A process decides how many
/// descriptors it has, so each look has a deadline. Any thread.
class HeldSockets
{
public:
    HeldSockets() = delete;

    using Deadline = std::chrono::steady_clock::time_point;

    /// Whether @p pid has one of @p sockets open, or the errno of what kept us from looking; ETIME
    /// where none was found by @p deadline and there were descriptors left to look at.
    [[nodiscard]] static std::variant<bool, int>
    any(int root, pid_t pid, std::span<const ListeningSocket> sockets, Deadline deadline);

    /// Takes a socket's inode; false ends the look.
    using Take = std::function<bool(std::uint32_t inode)>;

    struct Look
    {
        std::size_t descriptors = 0; ///< how many there were
        int code = 0;                ///< errno of what kept us from looking on, as in any(), or 0
    };

    /// Passes the sockets in the open directory PID/fd to @p take. A process that ends meanwhile
    /// has no more.
    [[nodiscard]] static Look each(int descriptors, Deadline deadline, const Take &take);
};

} // namespace Tarnwick
