// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ListenerInventoryPrivate.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <optional>

namespace Tarnwick {

/// The sockets for which a process whose number of descriptors has changed would be the owner, or
/// that had none and that it holds: it was handed them.
ListenerInventory::Private::Places ListenerInventory::Private::heldByBetterOwners()
{
    const std::uint64_t failures = SystemFailures::count();
    const std::vector<ProcFs::ProcessEntry> changed = census.takeUncompared();
    OwnerResolution resolution(root.get(), sockets, census.processes(), groups, backoff, limits);
    unsigned highest = 0;
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        const KnownSocket &known = memory.socket(place);
        const bool isHeld = known.verified && known.attribution == KnownSocket::Attribution::Held;
        if (isHeld) {
            resolution.assume({place, known.owner, known.descriptor, known.thread});
        }
        // Under any number where every holder of the whole process would be the owner.
        const bool isAnyBetter = !isHeld || known.provisional || known.thread != 0;
        highest = std::max(highest, isAnyBetter ? ~0U : known.descriptor);
    }
    resolution.lookUpTo(highest, changed);
    Places found;
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        const KnownSocket &known = memory.socket(place);
        const bool isHeld = known.verified && known.attribution == KnownSocket::Attribution::Held;
        if (!resolution.isHeldByOther(place, isHeld ? known.owner : 0)) {
            continue;
        }
        const std::optional<SocketOwner> owner = resolution.owner(place);
        if (owner && (!isHeld || owner->pid != known.owner)) {
            found.push_back(place);
        }
    }
    if (resolution.search().isCut() || SystemFailures::count() != failures) {
        constexpr std::int64_t again = -1;
        for (const ProcFs::ProcessEntry &process : changed) {
            census.noteCompared(process.pid, again);
        }
    }
    return found;
}

/// Compares the owners with the processes that may have been handed a socket since. Takes no more
/// than its share of the time.
void ListenerInventory::Private::compareWithChanged()
{
    const Clock::time_point start = Clock::now();
    Questions handed;
    handed.doubtful = heldByBetterOwners();
    if (!handed.none()) {
        resolve(handed, attempts);
    }
    nextComparison = Clock::now() + (Clock::now() - start) * auditShare;
}

} // namespace Tarnwick
