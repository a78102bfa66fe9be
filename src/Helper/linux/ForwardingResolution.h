// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Helper/linux/ForwarderCommand.h"
#include "Helper/linux/GroupAttribution.h"
#include "Helper/linux/NetworkNamespaces.h"
#include "Helper/linux/ProcFs.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

/// Finds the process behind a program that forwards a port into another network namespace: the
/// namespace by the program's command line, by the namespaces of its children or by what it has
/// open; the socket by the tables of that namespace; and the process by its descriptors, or as
/// GroupAttribution chooses where those may not be looked at. Made for one look; belongs to one
/// thread.
class ForwardingResolution
{
public:
    using Clock = NetworkNamespaces::Clock;

    /// @p root is /proc and must outlive it. No search goes on past @p deadline.
    ForwardingResolution(int root, Clock::time_point deadline);

    /// What @p forwarder, which runs @p program with @p arguments, forwards @p port to; 0 stands
    /// for any port. Nothing where no process lives in such a namespace but the forwarder's own.
    [[nodiscard]] std::optional<Forwarding> find(pid_t forwarder, ForwarderCommand::Program program,
                                                 std::span<const std::string> arguments,
                                                 std::uint16_t port);

    /// Whether something was left out because of the deadline.
    [[nodiscard]] bool isCut() const { return m_namespaces.isCut() || Clock::now() > m_deadline; }

private:
    using Listener = NetworkNamespaces::Listener;

    /// A process in a namespace.
    struct Member
    {
        pid_t pid = 0;
        ProcFs::Stat stat;
    };

    [[nodiscard]] std::optional<NetworkNamespaces::Number>
    namespaceOf(pid_t forwarder, const ForwarderCommand &command);
    [[nodiscard]] std::optional<NetworkNamespaces::Number>
    namespaceWithAddress(const ForwarderCommand &command);
    [[nodiscard]] std::optional<NetworkNamespaces::Number> namespaceBelow(pid_t forwarder);
    [[nodiscard]] static pid_t onlyServer(const std::vector<Member> &members);
    [[nodiscard]] bool isOfForwarder(pid_t pid, pid_t forwarder);
    [[nodiscard]] std::vector<Member> members(NetworkNamespaces::Number number, pid_t forwarder);
    [[nodiscard]] std::optional<Listener>
    listener(NetworkNamespaces::Number number, const ForwarderCommand &command, std::uint16_t port);
    [[nodiscard]] pid_t owner(const std::vector<Member> &members, const Listener &listener);
    [[nodiscard]] bool holds(pid_t pid, std::uint32_t inode, bool &isReadable);
    [[nodiscard]] Container container(const ForwarderCommand &command, pid_t forwarder,
                                      pid_t behind, const std::vector<Member> &members) const;
    void describe(Forwarding &forwarding) const;
    [[nodiscard]] const std::optional<ProcFs::Stat> &stat(pid_t pid);

    int m_root;
    Clock::time_point m_deadline;
    NetworkNamespaces m_namespaces;
    std::unordered_map<pid_t, std::optional<ProcFs::Stat>> m_stats;
    int m_depth = 0; ///< of forwarders that forward to forwarders
    std::size_t m_descriptorsLeft;
};

} // namespace Tarnwick
