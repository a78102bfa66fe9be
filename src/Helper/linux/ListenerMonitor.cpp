// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerMonitor.h"

#include "Helper/linux/DestroyedListeners.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/TcpSocketCount.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

std::chrono::nanoseconds processorTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// The finalizer of SplitMix64 (Steele, Lea and Flood, 2014).
std::uint64_t mixed(std::uint64_t value)
{
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

/// The same for the same sockets in any order.
std::uint64_t fingerprintOf(std::span<const ListeningSocket> sockets)
{
    std::uint64_t sum = 0;
    for (const ListeningSocket &socket : sockets) {
        const std::uint64_t userAndPort = (std::uint64_t{socket.uid} << 16U) | socket.port;
        sum += mixed(mixed(socket.key()) ^ userAndPort);
    }
    return sum;
}

} // namespace

struct ListenerMonitor::Private
{
    explicit Private(const Options &wanted)
        : options(wanted)
        , dump(wanted.source)
    {
    }

    [[nodiscard]] bool isIndicated();
    [[nodiscard]] bool compareDumps(bool isIndicated);

    Options options;
    SocketDump dump;
    TcpSocketCount count;
    DestroyedListeners destroyed;
    std::vector<ListeningSocket> sockets;
    std::optional<std::uint64_t> fingerprint; ///< of the latest dump
    std::optional<std::pair<std::uint64_t, std::uint64_t>> lastCount;
    Clock::time_point nextCheck;
    Clock::time_point nextIndicatedDump;
    Clock::time_point nextRestDump;
    bool isPending = false; ///< a dump that was indicated has not been made yet
    bool isMuted = false;   ///< notifications wait for the next check
};

/// Reads everything that indicates a change.
bool ListenerMonitor::Private::isIndicated()
{
    const bool isDestroyed = destroyed.take();
    const auto counted = count.read();
    return std::exchange(lastCount, counted) != counted || isDestroyed;
}

/// Whether a dump differs from the one before.
bool ListenerMonitor::Private::compareDumps(bool isIndicated)
{
    const std::chrono::nanoseconds before = processorTime();
    const bool isListed = !dump.list(sockets);
    const std::uint64_t found = fingerprintOf(sockets);
    const bool isFirst = !fingerprint;
    const bool hasChanged = isListed && !isFirst && *fingerprint != found;
    if (isListed) {
        fingerprint = found;
    }
    const Clock::time_point now = Clock::now();
    const auto cost = std::chrono::duration_cast<Clock::duration>(processorTime() - before);
    nextRestDump = now + cost * options.restShare;
    const bool wasInVain = isIndicated && !isFirst && !hasChanged;
    nextIndicatedDump = wasInVain ? now + cost * options.indicatedShare : now;
    return hasChanged;
}

ListenerMonitor::ListenerMonitor()
    : ListenerMonitor(Options{})
{
}

ListenerMonitor::ListenerMonitor(const Options &options)
    : m_private(std::make_unique<Private>(options))
{
}

ListenerMonitor::~ListenerMonitor() = default;

int ListenerMonitor::descriptor() const
{
    return m_private->isMuted ? -1 : m_private->destroyed.descriptor();
}

ListenerMonitor::Clock::time_point ListenerMonitor::nextCheck() const
{
    return m_private->nextCheck;
}

bool ListenerMonitor::hasChanged()
{
    Private &d = *m_private;
    const Clock::time_point now = Clock::now();
    const bool isEarly = now < d.nextCheck;
    d.isPending = d.isIndicated() || d.isPending;
    const bool isDue = now >= (d.isPending ? d.nextIndicatedDump : d.nextRestDump);
    const bool hasChanged = isDue && d.compareDumps(std::exchange(d.isPending, false));
    d.isMuted = isEarly && !hasChanged;
    if (!isEarly) {
        d.nextCheck = now + d.options.interval;
    }
    return hasChanged;
}

} // namespace Tarnwick
