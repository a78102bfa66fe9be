// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Tarnwick {

/// What starts a process again when it has ended. All texts are UTF-8.
struct Supervisor
{
    enum class Kind {
        SystemUnit,     ///< a service of the system's service manager
        UserUnit,       ///< a service of a user's service manager
        Container,      ///< the process is the first one of a container
        ProcessManager, ///< pm2, supervisord, runit, s6 and the like
        Watcher,        ///< a development tool that starts a program anew, such as nodemon
        Shell,          ///< a shell that runs a script or a loop
    };

    Kind kind = Kind::Shell;
    std::string name;     ///< "nginx.service", "pm2", "container web", "bash"
    std::int32_t pid = 0; ///< of the process that starts it again; 0 for units and containers
    /// What stops it for good, to be typed into a shell; empty where no command is known.
    std::string stopCommand;

    friend bool operator==(const Supervisor &, const Supervisor &) = default;
};

/// What would start @p pid again: the nearest of its ancestors, its unit or its container that does
/// such things. Nothing where none is known. A process manager is known by its executable or, where
/// an interpreter runs it, by its script; neither proves anything, and nothing depends on it but a
/// text. Any thread.
[[nodiscard]] std::optional<Supervisor> supervisorOf(std::int32_t pid);

} // namespace Tarnwick
