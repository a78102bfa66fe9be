// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Tarnwick {

/// Knows the processes with which the user's session would end: its message bus, its display server
/// or compositor, and the service managers. They are never terminated, even if they listen on a TCP
/// port. Another bus or display server, such as that of a test, is none of them. Any thread; reads
/// the environment.
class SessionGuard
{
public:
    SessionGuard() = delete;

    enum class Part { MessageBus, DisplayServer, ServiceManager };

    /// What @p pid is to the session; nothing for all other processes, and for those that cannot be
    /// looked into and show it in no other way.
    [[nodiscard]] static std::optional<Part> part(std::int32_t pid);

    /// For people: "the message bus of the session".
    [[nodiscard]] static std::string_view name(Part part);
};

} // namespace Tarnwick
