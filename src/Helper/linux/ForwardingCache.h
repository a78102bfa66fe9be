// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Helper/linux/ForwarderCommand.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include <sys/types.h>

namespace Tarnwick {

class ForwardingResolution;

/// What the forwarders among the owners of listening sockets forward to, from one listing to the
/// next. What is cached stays as long as the forwarder and the process behind it live, which costs
/// one read of each, and is resolved anew every now and then; what could not be found is searched
/// for again, with growing pauses, when processes have come or gone. With no forwarder on the
/// machine this costs nothing. Belongs to the inventory's thread.
class ForwardingCache
{
public:
    using Clock = std::chrono::steady_clock;

    /// @p root is /proc and must outlive it.
    explicit ForwardingCache(int root);
    ~ForwardingCache();
    ForwardingCache(const ForwardingCache &) = delete;
    ForwardingCache &operator=(const ForwardingCache &) = delete;

    /// A process that runs the program of a forwarder, and owns the socket.
    struct Forwarder
    {
        std::uint64_t socket = 0; ///< ListeningSocket::key()
        pid_t pid = 0;
        std::uint64_t startTicks = 0;
        ForwarderCommand::Program program{};
        std::span<const std::string> arguments;
        std::uint16_t port = 0;
    };

    /// Begins a listing. @p processesChanged: whether processes may have come or gone since the
    /// one before. No search of the listing goes on past @p deadline.
    void begin(bool processesChanged, Clock::time_point deadline);

    /// What the forwarder forwards to; nothing where that could not be found. Valid until the
    /// listing after this one ends.
    [[nodiscard]] const Forwarding *find(const Forwarder &forwarder);

    /// What was found in this listing for the socket; nothing for others.
    [[nodiscard]] const Forwarding *found(std::uint64_t socket) const;

    /// Ends the listing: forgets what find() was not called for.
    void finish();

private:
    struct Entry
    {
        pid_t forwarder = 0;
        std::uint64_t forwarderStart = 0;
        std::optional<Forwarding> forwarding;
        std::uint64_t startBehind = 0; ///< of the process behind, in clock ticks since boot
        std::uint64_t listing = 0;     ///< in which it was asked for last
        std::uint64_t retryAt = 0;     ///< the listing in which to resolve it again
        std::uint64_t pause = 1;       ///< between two such listings
        Clock::time_point resolvedAt;
    };

    [[nodiscard]] bool isCurrent(const Entry &entry, const Forwarder &forwarder) const;
    void resolve(Entry &entry, const Forwarder &forwarder);

    int m_root;
    bool m_processesChanged = true;
    Clock::time_point m_deadline;
    std::uint64_t m_listing = 0;
    std::unique_ptr<ForwardingResolution> m_resolution; ///< of this listing, when one is needed
    std::unordered_map<std::uint64_t, Entry> m_entries; ///< by socket
};

} // namespace Tarnwick
