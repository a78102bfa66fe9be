// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/SocketDump.h"

#include <span>
#include <variant>

#include <sys/types.h>

namespace Tarnwick {

/// The sockets of one process, by a look at each of its descriptors: for the rare answer that must
/// not rest on a scan, which takes what it cannot look at for not there.
class HeldSockets
{
public:
    HeldSockets() = delete;

    /// Whether @p pid has one of @p sockets open, or the errno of what kept us from looking.
    [[nodiscard]] static std::variant<bool, int> any(int root, pid_t pid,
                                                     std::span<const ListeningSocket> sockets);
};

} // namespace Tarnwick
