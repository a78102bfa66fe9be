// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace Tarnwick {

/// Knows the processes with which the user's session would end: its message bus, its display server
/// or compositor, and the service managers. They are never terminated, even if they listen on a TCP
/// port. Another bus or display server, such as that of a test, is none of them; but each bus may
/// be the session's where nothing is found to listen at the addresses of that. Any thread; reads
/// the environment.
class SessionGuard
{
public:
    SessionGuard() = delete;

    enum class Part { MessageBus, DisplayServer, ServiceManager };

    /// Why it is not known whether a process is a part of the session.
    struct Failure
    {
        /// errno; EOPNOTSUPP where the kernel has no means to tell, ETIME where the process has
        /// more descriptors than can be looked at in the time
        int code = 0;
        std::string message; ///< for people: the system call that failed, where it was one, and why
        /// Whether it was a look at the process itself that failed, and nothing else.
        bool isOfProcess = false;
    };
    using Answer = std::variant<std::optional<Part>, Failure>;

    /// What @p pid is to the session; no part for all other processes, and for one that has ended.
    /// Where that cannot be found out, for want of memory or of permissions, it is a failure: the
    /// process may be a part. Takes a few milliseconds; of a process with very many descriptors
    /// those that can be looked at in @p maxTime.
    [[nodiscard]] static Answer part(std::int32_t pid, std::chrono::milliseconds maxTime);
    [[nodiscard]] static Answer part(std::int32_t pid)
    {
        return part(pid, std::chrono::seconds(3));
    }

    /// For people: "the message bus of the session".
    [[nodiscard]] static std::string_view name(Part part);
};

} // namespace Tarnwick
