// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace Tarnwick {

/// What starts a process again when it has ended. All texts are UTF-8.
struct Supervisor
{
    enum class Kind {
        SystemUnit,     ///< a service of the system's service manager
        UserUnit,       ///< a service of a user's service manager
        Container,      ///< the runtime of the container that the process is in
        ProcessManager, ///< pm2, supervisord, runit, s6 and the like
        Watcher,        ///< a development tool that starts a program anew, such as nodemon
        Shell,          ///< a shell that runs a script or a loop
        Process,        ///< any other process
    };

    Kind kind = Kind::Process;
    std::string name{};   ///< "nginx.service", "pm2", "container web", "bash"
    std::int32_t pid = 0; ///< of the process that starts it again; 0 for units and containers
    /// What stops it for good, to be typed into a shell; empty where no command is known.
    std::string stopCommand{};

    friend bool operator==(const Supervisor &, const Supervisor &) = default;
};

/// What would start @p pid again: its container; the nearest of its ancestors that is a process
/// manager or a watcher; its unit, unless that is a service which its manager does not restart; its
/// parent, where that is a shell which runs a script. Nothing where none is known. A process
/// manager is known by its name or, where an interpreter runs it, by its script; neither proves
/// anything, and nothing depends on it but a text. Any thread.
[[nodiscard]] std::optional<Supervisor> supervisorOf(std::int32_t pid);

/// What has started @p pid in place of a process that had the ancestors @p former, nearest first:
/// as above, but of the ancestors only the nearest of these, be it a process manager or not.
[[nodiscard]] std::optional<Supervisor> restarterOf(std::int32_t pid,
                                                    std::span<const std::int32_t> former);

} // namespace Tarnwick
