// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Listener.h"

#include "Shared/PortScanner.h"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

namespace Tarnwick {

bool comesBefore(const Listener &left, const Listener &right)
{
    const auto key = [](const PortEntry &entry) {
        return std::tie(entry.port, entry.pid, entry.process);
    };
    return key(left.entry) < key(right.entry);
}

std::vector<Listener> listenersFrom(std::vector<RawPortInfo> records,
                                    std::span<const std::uint64_t> sockets,
                                    std::vector<ListenerDetails> details, const TierRules &rules)
{
    std::vector<PortEntry> entries = PortScanner::entries(records, rules);
    std::vector<Listener> listeners;
    listeners.reserve(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        const std::uint64_t socket = index < sockets.size() ? sockets[index] : 0;
        listeners.push_back({std::move(records[index]), std::move(entries[index]), socket, {}});
        if (index < details.size()) {
            listeners.back().details = std::move(details[index]);
        }
    }
    // They come ordered by port: seldom is there anything to move.
    if (!std::is_sorted(listeners.begin(), listeners.end(), comesBefore)) {
        std::stable_sort(listeners.begin(), listeners.end(), comesBefore);
    }
    return listeners;
}

void noteShadows(std::vector<Listener> &listeners)
{
    std::vector<Shadowing::Socket> sockets;
    for (std::size_t first = 0; first < listeners.size(); first += sockets.size()) {
        sockets.clear();
        for (std::size_t index = first;
             index < listeners.size() &&
             listeners[index].record.port == listeners[first].record.port;
             ++index) {
            sockets.push_back({&listeners[index].record, &listeners[index].details});
        }
        if (sockets.size() > 1) {
            std::vector<std::vector<Shadow>> shadows = Shadowing::find(sockets);
            for (std::size_t index = 0; index < sockets.size(); ++index) {
                listeners[first + index].shadows = std::move(shadows[index]);
            }
        }
    }
}

void mergeEqual(std::vector<Listener> &listeners)
{
    const auto equal = [](const Listener &left, const Listener &right) {
        return left.entry == right.entry &&
               (left.entry.pid != 0 || left.details.userId == right.details.userId);
    };
    std::size_t kept = 0;
    for (std::size_t index = 1; index < listeners.size(); ++index) {
        Listener &last = listeners[kept];
        Listener &next = listeners[index];
        if (!equal(last, next)) {
            if (++kept != index) {
                listeners[kept] = std::move(next);
            }
            continue;
        }
        last.otherSockets.push_back(std::move(next.details));
        for (Shadow &shadow : next.shadows) {
            if (std::find(last.shadows.begin(), last.shadows.end(), shadow) == last.shadows.end()) {
                last.shadows.push_back(std::move(shadow));
            }
        }
    }
    listeners.resize(std::min(listeners.size(), kept + 1));
}

} // namespace Tarnwick
