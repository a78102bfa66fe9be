// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerInventory.h"

#include "Helper/linux/BootClock.h"
#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/GroupAttribution.h"
#include "Helper/linux/OwnerMemory.h"
#include "Helper/linux/OwnerResolution.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessCensus.h"
#include "Helper/linux/SocketDump.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_set>

namespace Tarnwick {

namespace {

using Clock = std::chrono::steady_clock;

/// The longest pause between two searches for an owner that could not be found, in listings.
constexpr std::uint64_t longestPause = 64;

RawPortInfo recordOf(const ListeningSocket &socket, const ProcessInspector &owner)
{
    const ProcessDetails &details = owner.details();
    RawPortInfo record;
    record.pid = owner.identity().pid;
    record.port = socket.port;
    record.processName = details.processName;
    record.commandPath = details.commandPath;
    record.cwd = details.cwd;
    record.arguments = details.arguments;
    record.originArguments = details.originArguments;
    record.processStartedAt = details.startedAt;
    record.memoryBytes = details.memoryBytes;
    return record;
}

RawPortInfo recordWithoutOwner(const ListeningSocket &socket, const KnownSocket &known)
{
    RawPortInfo record;
    record.port = socket.port;
    record.processName = known.unit.empty() ? "unknown" : known.unit;
    record.processStartedAt = known.firstSeen;
    return record;
}

} // namespace

struct ListenerInventory::Private
{
    explicit Private(const Options &options)
        : auditInterval(options.auditInterval)
        , auditShare(options.auditShare)
        , root(ProcFs::openRoot())
        , dump(options.source)
        , census(root.get())
        , memory(root.get())
    {
    }

    using Places = std::vector<std::uint32_t>;

    /// The sockets of a listing whose owner has to be looked for, by why.
    struct Questions
    {
        Places fresh;            ///< not seen before
        Places lost;             ///< their owner is gone or has them no more
        Places open;             ///< without an owner that is sure to stay, and worth another look
        bool everything = false; ///< check all that is remembered, too

        [[nodiscard]] bool none() const
        {
            return fresh.empty() && lost.empty() && open.empty() && !everything;
        }
    };

    [[nodiscard]] Questions questions(ProcessCensus::Pulse pulse);
    void resolve(const Questions &questions, int attemptsLeft);
    void look(OwnerResolution &resolution, GroupAttribution &attribution,
              const Questions &questions);
    [[nodiscard]] bool anyDue(const Places &places);
    [[nodiscard]] bool leadsToOwner(GroupAttribution &attribution, OwnerResolution &resolution,
                                    std::uint32_t place) const;
    void attribute(GroupAttribution &attribution, const Places &places);
    [[nodiscard]] bool attributionStands(std::uint32_t place);
    void postpone(KnownSocket &known) const;
    void dropVanished(const Places &suspects);
    [[nodiscard]] std::vector<RawPortInfo> records();

    std::chrono::seconds auditInterval;
    int auditShare;
    FileDescriptor root;
    SocketDump dump;
    ControlGroups groups;
    BootClock clock;
    ProcessCensus census;
    OwnerMemory memory;
    std::vector<ListeningSocket> sockets;
    std::unordered_set<std::uint32_t> vanished; ///< places of sockets that closed while we looked
    Clock::time_point nextAudit;
};

ListenerInventory::ListenerInventory()
    : ListenerInventory(Options{})
{
}

ListenerInventory::ListenerInventory(const Options &options)
    : m_private(std::make_unique<Private>(options))
{
}

ListenerInventory::~ListenerInventory() = default;

Listing ListenerInventory::list()
{
    Private &d = *m_private;
    if (!d.root) {
        return ListingError{ENOENT, "cannot read /proc: is it mounted?"};
    }
    if (std::optional<ListingError> error = d.dump.list(d.sockets)) {
        return *std::move(error);
    }
    d.vanished.clear();
    d.clock.update();
    // The moment that the listing is true of, where nothing else ran then.
    const ProcessCensus::Pulse pulse = d.census.pulse();
    d.memory.check(d.sockets, d.clock,
                   pulse.othersRun ? ProcessInspector::Reading::Everything
                                   : ProcessInspector::Reading::WhatMayHaveChanged);
    if (const Private::Questions questions = d.questions(pulse); !questions.none()) {
        constexpr int attempts = 3;
        d.resolve(questions, attempts);
    }
    std::vector<RawPortInfo> records = d.records();
    d.memory.finish();
    return records;
}

std::optional<ProcessIdentity> ListenerInventory::listed(std::int32_t pid) const
{
    return m_private->memory.listed(pid);
}

ListenerInventory::Private::Questions
ListenerInventory::Private::questions(ProcessCensus::Pulse pulse)
{
    Questions questions;
    Places open;
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        const KnownSocket &known = memory.socket(place);
        if (memory.isNew(place)) {
            questions.fresh.push_back(place);
        } else if (known.attribution != KnownSocket::Attribution::None && !known.verified) {
            questions.lost.push_back(place);
        } else if (known.isOpen()) {
            open.push_back(place);
        }
    }
    // Only a process that has come or gone can change who owns what.
    if (pulse.processesChanged) {
        questions.open = std::move(open);
    }
    questions.everything = memory.listing() > 1 && Clock::now() >= nextAudit;
    return questions;
}

bool ListenerInventory::Private::anyDue(const Places &places)
{
    return std::any_of(places.begin(), places.end(), [this](std::uint32_t place) {
        const KnownSocket &known = memory.socket(place);
        return known.attribution != KnownSocket::Attribution::Grouped &&
               known.retryAt <= memory.listing();
    });
}

/// Whether a look at a socket's control group makes a look at the whole machine needless.
bool ListenerInventory::Private::leadsToOwner(GroupAttribution &attribution,
                                              OwnerResolution &resolution,
                                              std::uint32_t place) const
{
    constexpr pid_t serviceManager = 1;
    resolution.look(attribution.searchable(sockets[place]));
    if (resolution.settled({&place, 1})) {
        return true;
    }
    const GroupAttribution::Answer answer = attribution.owner(sockets[place]);
    if (answer.idleUnit) {
        resolution.look({&serviceManager, 1});
        return resolution.owner(place).has_value();
    }
    return answer.owner.has_value();
}

void ListenerInventory::Private::look(OwnerResolution &resolution, GroupAttribution &attribution,
                                      const Questions &questions)
{
    const Clock::time_point start = Clock::now();
    bool everywhere = memory.listing() == 1 || questions.everything;
    if (!everywhere) {
        resolution.look(census.newcomers());
        if (!questions.lost.empty() || !resolution.ownersAreMakers(questions.fresh)) {
            std::vector<pid_t> suspects = census.changed();
            for (const std::uint32_t place : questions.lost) {
                suspects.push_back(memory.socket(place).owner);
            }
            resolution.look(suspects);
        }
        everywhere = !questions.lost.empty() || !resolution.settled(questions.fresh) ||
                     anyDue(questions.open);
    }
    if (everywhere) {
        resolution.lookEverywhere(
            questions.everything ? OwnerResolution::Thoroughness::Everything
                                 : OwnerResolution::Thoroughness::UntilSettled,
            [&](std::uint32_t place) { return leadsToOwner(attribution, resolution, place); });
        for (const std::uint32_t place : questions.open) {
            if (memory.socket(place).manager) {
                postpone(memory.socket(place));
            }
        }
    }
    for (const auto &[pid, visited] : resolution.search().visited()) {
        census.remember(pid, visited.descriptors);
    }
    if (memory.listing() == 1 || questions.everything) {
        const auto pause =
            std::max<Clock::duration>(auditInterval, (Clock::now() - start) * auditShare);
        nextAudit = Clock::now() + pause;
    }
}

void ListenerInventory::Private::resolve(const Questions &questions, int attemptsLeft)
{
    Places wanted = questions.fresh;
    wanted.insert(wanted.end(), questions.lost.begin(), questions.lost.end());
    wanted.insert(wanted.end(), questions.open.begin(), questions.open.end());
    if (questions.everything) {
        wanted.resize(sockets.size());
        for (std::uint32_t place = 0; place < sockets.size(); ++place) {
            wanted[place] = place;
        }
    }
    OwnerResolution resolution(root.get(), sockets, census.take());
    for (const std::uint32_t place : wanted) {
        resolution.want(place);
    }
    GroupAttribution attribution(root.get(), groups, [&resolution](pid_t pid) {
        const auto visited = resolution.search().visited().find(pid);
        return visited == resolution.search().visited().end() || visited->second.descriptors != 0;
    });
    look(resolution, attribution, questions);

    Places unowned;
    Questions ended;
    for (const std::uint32_t place : wanted) {
        const std::optional<SocketOwner> owner = resolution.owner(place);
        KnownSocket &known = memory.socket(place);
        if (owner && memory.assign(place, owner->pid, KnownSocket::Attribution::Held, clock)) {
            known.descriptor = owner->descriptor;
            known.manager = owner->manager;
        } else if (owner && attemptsLeft > 0) {
            known.owner = owner->pid;
            ended.lost.push_back(place);
        } else if (!known.verified || known.attribution == KnownSocket::Attribution::Grouped) {
            unowned.push_back(place);
        }
    }
    attribute(attribution, unowned);
    dropVanished(unowned);
    // An owner that ended since it was found may have left its socket to another process.
    if (!ended.none()) {
        resolve(ended, attemptsLeft - 1);
    }
}

/// Puts off the next search for an owner that could not be found, each time for longer.
void ListenerInventory::Private::postpone(KnownSocket &known) const
{
    known.pause = std::min(longestPause, known.pause * 2);
    known.retryAt = memory.listing() + known.pause;
}

/// A socket that nobody holds may have been closed since it was listed; then it is nobody's.
void ListenerInventory::Private::dropVanished(const Places &suspects)
{
    const bool anyUnknown =
        std::any_of(suspects.begin(), suspects.end(),
                    [this](std::uint32_t place) { return !memory.socket(place).verified; });
    std::vector<ListeningSocket> still;
    if (!anyUnknown || dump.list(still)) {
        return;
    }
    std::unordered_set<std::uint64_t> keys;
    for (const ListeningSocket &socket : still) {
        keys.insert(socket.key());
    }
    for (const std::uint32_t place : suspects) {
        if (!keys.contains(sockets[place].key())) {
            vanished.insert(place);
        }
    }
}

/// Whether the group that a socket's owner was looked for in is as it was; in a group that
/// strangers share somebody always comes and goes, so that one is asked again after a pause only.
bool ListenerInventory::Private::attributionStands(std::uint32_t place)
{
    const KnownSocket &known = memory.socket(place);
    if (memory.isNew(place) || known.group.empty() ||
        (known.attribution == KnownSocket::Attribution::Grouped && !known.verified) ||
        known.retryAt <= memory.listing()) {
        return false;
    }
    return ControlGroups::isShared(known.group) ||
           groups.processList(known.group) == known.groupList;
}

void ListenerInventory::Private::attribute(GroupAttribution &attribution, const Places &places)
{
    for (const std::uint32_t place : places) {
        if (attributionStands(place)) {
            continue;
        }
        KnownSocket &known = memory.socket(place);
        GroupAttribution::Answer answer = attribution.owner(sockets[place]);
        known.group = std::move(answer.group);
        known.unit = std::move(answer.unit);
        known.groupList = groups.processList(known.group);
        postpone(known);
        known.manager = false;
        known.verified = false;
        known.attribution = KnownSocket::Attribution::None;
        if (answer.owner) {
            // A process that ends right now leaves the socket to whoever is found next time.
            static_cast<void>(
                memory.assign(place, *answer.owner, KnownSocket::Attribution::Grouped, clock));
        }
    }
}

std::vector<RawPortInfo> ListenerInventory::Private::records()
{
    std::vector<RawPortInfo> records;
    records.reserve(sockets.size());
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        if (vanished.contains(place)) {
            continue;
        }
        const ProcessInspector *owner = memory.owner(place);
        records.push_back(owner != nullptr
                              ? recordOf(sockets[place], *owner)
                              : recordWithoutOwner(sockets[place], memory.socket(place)));
    }
    return records;
}

} // namespace Tarnwick
