// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ListenerSource.h"
#include "CommandLine/ProcessEnder.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// Stops the processes behind ports, each after a question. The outcomes go to the output, one line
/// for each port, and everything else that is said to the errors.
class KillCommand
{
public:
    /// How long a port may take to be released: what inherited the socket of a process that has
    /// ended, such as its workers, ends a little later.
    struct Release
    {
        std::chrono::milliseconds interval{50}; ///< between two listings
        std::chrono::milliseconds atMost{1000};
        /// When a port that was released is checked again where the parent of the process, any but
        /// a shell that a person types into, may start it again.
        std::chrono::milliseconds restart{300};
        /// The same where a service manager or the like is known to start it again.
        std::chrono::milliseconds supervised{1000};
    };

    KillCommand(KillArguments arguments, const Console &console, ListenerSource &source,
                ProcessEnder &ender);
    KillCommand(KillArguments arguments, const Console &console, ListenerSource &source,
                ProcessEnder &ender, Release release);

    [[nodiscard]] ExitCode run();

private:
    void rememberOwners();
    [[nodiscard]] ExitCode stopOwnerOf(std::int64_t port);
    [[nodiscard]] ExitCode stopProcess(std::int64_t pid);
    [[nodiscard]] ExitCode stop(const PortEntry &owner, const std::vector<std::int64_t> &asked);
    [[nodiscard]] ExitCode end(const PortEntry &owner, const std::vector<std::int64_t> &asked);
    [[nodiscard]] ExitCode fail(const PortEntry &owner, const KillError &error) const;
    [[nodiscard]] std::vector<Listener> listenersOn(std::int64_t port) const;
    [[nodiscard]] std::vector<std::int64_t> portsOf(std::int64_t pid) const;
    [[nodiscard]] std::vector<std::int64_t> portsAskedForOf(std::int64_t pid) const;
    [[nodiscard]] std::chrono::milliseconds
    restartTime(std::int32_t pid, const std::vector<Ancestor> &ancestors) const;
    [[nodiscard]] std::set<std::int64_t> descendantsOn(const std::vector<std::int64_t> &ports,
                                                       const PortEntry &owner) const;
    [[nodiscard]] std::string_view hintForPrivilege() const;
    void describe(const PortEntry &owner) const;
    void listOwners(const std::vector<Listener> &owners) const;
    [[nodiscard]] bool updateListeners();
    [[nodiscard]] ExitCode checkFreedPorts();
    [[nodiscard]] bool isTaken(const Listener &listener) const;
    [[nodiscard]] bool isAnyTaken() const;
    void printHoldersOfFreedPorts();
    void printRestarter(const Listener &holder) const;

    KillArguments m_arguments;
    const Console &m_console;
    ListenerSource &m_source;
    ProcessEnder &m_ender;
    Release m_release;
    std::vector<Listener> m_listeners;
    std::map<std::int64_t, ProcessIdentity> m_shown;       ///< by process identifier
    std::set<std::int64_t> m_handled;                      ///< processes asked about already
    std::set<std::int64_t> m_stopped;                      ///< with descendants on their ports
    std::set<std::int64_t> m_freed;                        ///< ports whose owner has ended
    std::map<std::uint64_t, std::int64_t> m_initialOwners; ///< by socket
    std::map<std::int64_t, std::vector<std::int32_t>> m_ancestors; ///< of stopped owners, by port
    /// After how long the freed ports are checked again, for processes that may be started again.
    std::chrono::milliseconds m_recheckAfter{0};
};

} // namespace Tarnwick
