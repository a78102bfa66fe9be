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

void mergeEqual(std::vector<Listener> &listeners)
{
    const auto equal = [](const Listener &left, const Listener &right) {
        return left.entry == right.entry;
    };
    listeners.erase(std::unique(listeners.begin(), listeners.end(), equal), listeners.end());
}

} // namespace Tarnwick
