// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/SocketDump.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// The network namespaces of the processes that /proc shows, as far as everybody may see them
/// (network_namespaces(7)). A namespace has a number here: the inode of its table "tcp", which the
/// kernel gives out for each namespace, and which may be read of any process, unlike the link
/// PID/ns/net. Everything is read when it is first needed. Made for one look; belongs to one
/// thread.
class NetworkNamespaces
{
public:
    using Clock = std::chrono::steady_clock;
    using Number = std::uint64_t;

    /// A listening socket in a namespace.
    struct Listener
    {
        ListeningSocket socket;
        std::string address; ///< 8 or 32 hexadecimal digits, as in the table
    };

    /// @p root is /proc and must outlive it. Past @p deadline no more processes are read.
    NetworkNamespaces(int root, Clock::time_point deadline);

    /// The namespace of @p pid; nothing when there is no such process.
    [[nodiscard]] std::optional<Number> of(pid_t pid) const;

    /// Whether @p number is the namespace of this process.
    [[nodiscard]] bool isOwn(Number number) const { return number == m_own; }

    /// The namespaces of other processes, but our own.
    [[nodiscard]] std::vector<Number> others();

    /// The processes in a namespace other than our own, in ascending order; none in our own.
    [[nodiscard]] const std::vector<pid_t> &processes(Number number);

    /// The namespaces other than our own in which @p address, numeric, is a local one.
    [[nodiscard]] std::vector<Number> withAddress(const std::string &address);

    /// The namespace that is mounted at @p path, for this process or for another one whose
    /// namespace of mounts has it. Nothing where there is none, where it is our own, and where no
    /// process in it may be looked into.
    [[nodiscard]] std::optional<Number> atFile(const std::string &path);

    /// The namespace that @p pid has a descriptor of, other than our own; nothing likewise.
    [[nodiscard]] std::optional<Number> heldBy(pid_t pid);

    /// What listens in the namespace.
    [[nodiscard]] const std::vector<Listener> &listeners(Number number);

    /// Whether the deadline came before all processes had been read.
    [[nodiscard]] bool isCut() const { return m_isCut; }

    /// The listeners that the text of /proc/PID/net/tcp or tcp6 tells of.
    [[nodiscard]] static std::vector<Listener> parseTable(std::string_view table);

    /// Whether the text of /proc/PID/net/fib_trie has @p address, "172.17.0.2", as a local one.
    [[nodiscard]] static bool isLocal(std::string_view routes, std::string_view address);

    /// The inode of the namespace that the text of /proc/PID/mountinfo has mounted at @p path.
    [[nodiscard]] static std::optional<std::uint64_t> mountedAt(std::string_view mountInfo,
                                                                std::string_view path);

private:
    struct Namespace
    {
        std::vector<pid_t> processes;
        std::optional<std::vector<Listener>> listeners;
        std::optional<std::string> routes;    ///< fib_trie
        std::optional<std::string> addresses; ///< if_inet6
    };

    void readProcesses();
    [[nodiscard]] std::string readTable(const Namespace &of, std::string_view name) const;
    [[nodiscard]] std::optional<std::uint64_t> inodeOf(pid_t pid) const;
    [[nodiscard]] std::optional<Number> withInode(std::uint64_t inode);

    int m_root;
    Clock::time_point m_deadline;
    Number m_own = 0;
    bool m_isRead = false;
    bool m_isCut = false;
    std::map<Number, Namespace> m_namespaces; ///< all but our own
};

} // namespace Tarnwick
