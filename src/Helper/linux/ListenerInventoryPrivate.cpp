// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ListenerInventoryPrivate.h"

#include "Helper/linux/DetailsReader.h"
#include "Helper/linux/SystemFailures.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <unordered_set>
#include <utility>

namespace Tarnwick {

namespace {

/// The longest pause between two searches for an owner that could not be found, in listings.
constexpr std::uint64_t longestPause = 64;

} // namespace

Scan ListenerInventory::Private::scan(const ScanRequest &request)
{
    if (std::optional<ListingError> error = update(request)) {
        return *std::move(error);
    }
    ScanResult result;
    result.ownerships = memory.ownerships(request.owners);
    if (request.records) {
        result.records = memory.records(sockets);
        findForwarded();
        std::size_t record = 0;
        for (std::size_t place = 0; place < sockets.size(); ++place) {
            if (!memory.socket(place).vanished) {
                describeForwarded(result.records[record++], sockets[place], result.records.size());
            }
        }
        result.sockets = reportedSockets();
        if (request.details) {
            result.details = reportedDetails();
        }
    }
    memory.finish();
    if (request.records) {
        report = std::make_shared<const ProcessReport>(memory.reported());
    }
    result.report = report;
    return result;
}

/// The identities of the sockets that have a record.
std::vector<std::uint64_t> ListenerInventory::Private::reportedSockets()
{
    std::vector<std::uint64_t> reported;
    reported.reserve(sockets.size());
    for (std::size_t place = 0; place < sockets.size(); ++place) {
        if (!memory.socket(place).vanished) {
            reported.push_back(sockets[place].key());
        }
    }
    return reported;
}

std::vector<ListenerDetails> ListenerInventory::Private::reportedDetails()
{
    DetailsReader reader(root.get(), groups);
    std::vector<ListenerDetails> reported;
    reported.reserve(sockets.size());
    for (std::size_t place = 0; place < sockets.size(); ++place) {
        const KnownSocket &known = memory.socket(place);
        if (!known.vanished) {
            reported.push_back(reader.read(sockets[place], known.verified ? known.owner : 0));
            if (const Forwarding *const found = forwardings.found(sockets[place].key())) {
                reported.back().forwarding = *found;
            }
        }
    }
    return reported;
}

/// Finds out what listens now and who owns it. What the owners that are asked for have is found as
/// in a first listing.
std::optional<ListingError> ListenerInventory::Private::update(const ScanRequest &request)
{
    using Reading = ProcessInspector::Reading;
    const Reading least =
        request.owners.empty() ? Reading::WhatMayHaveChanged : Reading::Everything;
    if (!root) {
        return ListingError{ENOENT, "cannot read /proc: is it mounted?"};
    }
    if (std::optional<ListingError> error = dump.list(sockets)) {
        logFailures();
        return error;
    }
    clock.update();
    // The moment that the listing is true of, where nothing else ran then.
    const ProcessCensus::Pulse pulse = census.pulse();
    processesChanged = processesChanged || pulse.processesChanged;
    memory.check(sockets, clock, pulse.othersRun ? Reading::Everything : least);
    limits.deadline = Clock::now() + searchTime;
    const Questions asked = questions(pulse, request.owners);
    const bool isComparisonDue = memory.listing() > 1 && !sockets.empty() && !asked.everything &&
                                 Clock::now() >= nextComparison;
    if (!asked.none()) {
        resolve(asked, attempts);
    } else if (isComparisonDue) {
        beginLook(ProcessCensus::Purpose::Comparison);
    }
    if (isComparisonDue) {
        compareWithChanged();
    }
    using Processes = AncestorProcess::Processes;
    memory.findOrigins(pulse.processesChanged ? Processes::Changed : Processes::Same);
    logFailures();
    return std::nullopt;
}

void ListenerInventory::Private::logFailures()
{
    for (const SystemFailures::Failure &failure : SystemFailures::take()) {
        log.log(std::string("[helper] ") + failure.call + ": " + std::strerror(failure.code));
    }
}

ListenerInventory::Private::Questions
ListenerInventory::Private::questions(ProcessCensus::Pulse pulse,
                                      std::span<const std::int32_t> owners)
{
    Questions questions;
    Places open;
    Places openBelow;
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        KnownSocket &known = memory.socket(place);
        if (memory.isNew(place)) {
            questions.fresh.push_back(place);
        } else if ((known.attribution != KnownSocket::Attribution::None && !known.verified) ||
                   std::exchange(known.unsure, false)) {
            questions.lost.push_back(place);
        } else if (known.attribution == KnownSocket::Attribution::Held &&
                   std::find(owners.begin(), owners.end(), known.owner) != owners.end()) {
            questions.doubtful.push_back(place);
        } else if (known.isOpen()) {
            open.push_back(place);
        } else if (known.isOpenBelow()) {
            openBelow.push_back(place);
        }
    }
    // Only a process that has come or gone can change who owns what.
    if (pulse.processesChanged) {
        questions.open = std::move(open);
        questions.openBelow = std::move(openBelow);
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

/// The sockets that a new process may have from anybody, for its maker is gone. Who made them is in
/// their control group: where that is no crowd, its processes are looked at, and nothing is left.
ListenerInventory::Private::Places
ListenerInventory::Private::inheritedFromAnybody(OwnerResolution &resolution, const Places &fresh)
{
    Places inherited;
    if (fresh.empty()) {
        return inherited;
    }
    const std::vector<pid_t> newcomers = census.newcomers();
    for (const std::uint32_t place : fresh) {
        const std::optional<SocketOwner> owner = resolution.owner(place);
        const bool isNew =
            owner && std::binary_search(newcomers.begin(), newcomers.end(), owner->pid);
        if (!isNew || !resolution.isMakerOfOwnerGone(place)) {
            continue;
        }
        const std::optional<std::string> group = groups.path(sockets[place].controlGroup);
        if (group && !ControlGroups::isShared(*group)) {
            resolution.look(groups.processes(*group));
        } else {
            inherited.push_back(place);
        }
    }
    return inherited;
}

void ListenerInventory::Private::look(OwnerResolution &resolution, GroupAttribution &attribution,
                                      const Questions &questions)
{
    const Clock::time_point start = Clock::now();
    bool everywhere = memory.listing() == 1 || questions.everything || !questions.doubtful.empty();
    Places inherited;
    // Who comes later is compared with the owner there is.
    for (const std::uint32_t place : questions.open) {
        const KnownSocket &known = memory.socket(place);
        if (known.provisional && known.verified && !known.manager) {
            resolution.look({&known.owner, 1});
        }
    }
    if (!everywhere) {
        resolution.look(census.newcomers());
        if (!questions.lost.empty() || !resolution.ownersAreMakers(questions.fresh)) {
            std::vector<pid_t> suspects = census.changed();
            for (const std::uint32_t place : questions.lost) {
                suspects.push_back(memory.socket(place).owner);
            }
            resolution.look(suspects);
        }
        inherited = inheritedFromAnybody(resolution, questions.fresh);
        everywhere = !inherited.empty() || !questions.lost.empty() ||
                     !resolution.settled(questions.fresh) || anyDue(questions.open);
    }
    if (everywhere) {
        resolution.lookEverywhere(inherited, [&](std::uint32_t place) {
            return leadsToOwner(attribution, resolution, place);
        });
        for (const std::uint32_t place : questions.open) {
            if (memory.socket(place).provisional) {
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

/// Takes note of the processes that there are now, before they are looked at.
void ListenerInventory::Private::beginLook(ProcessCensus::Purpose purpose)
{
    memory.makeRoom();
    groups.beginLook();
    backoff.beginListing(memory.listing());
    backoff.retain(census.take(purpose));
}

void ListenerInventory::Private::resolve(const Questions &questions, int attemptsLeft)
{
    Places wanted = questions.fresh;
    wanted.insert(wanted.end(), questions.lost.begin(), questions.lost.end());
    wanted.insert(wanted.end(), questions.open.begin(), questions.open.end());
    wanted.insert(wanted.end(), questions.doubtful.begin(), questions.doubtful.end());
    if (questions.everything) {
        wanted.resize(sockets.size());
        for (std::uint32_t place = 0; place < sockets.size(); ++place) {
            wanted[place] = place;
        }
    }
    const std::uint64_t failures = SystemFailures::count();
    beginLook(ProcessCensus::Purpose::Search);
    OwnerResolution resolution(root.get(), sockets, census.processes(), groups, backoff, limits);
    for (const std::uint32_t place : wanted) {
        resolution.want(place);
    }
    if (!questions.everything) {
        for (const std::uint32_t place : questions.openBelow) {
            const KnownSocket &known = memory.socket(place);
            resolution.assume({place, known.owner, known.descriptor, known.thread});
        }
    }
    GroupAttribution attribution(root.get(), groups, [&resolution](pid_t pid) {
        const auto visited = resolution.search().visited().find(pid);
        if (visited == resolution.search().visited().end()) {
            return GroupAttribution::Access::Unknown;
        }
        if (visited->second.descriptors == 0) {
            return GroupAttribution::Access::HoldsNothing;
        }
        return visited->second.readable ? GroupAttribution::Access::Open
                                        : GroupAttribution::Access::Unknown;
    });
    look(resolution, attribution, questions);
    const bool failed = SystemFailures::count() != failures;
    if (failed && attemptsLeft == attempts && Clock::now() < limits.deadline) {
        resolve(questions, attemptsLeft - 1);
        return;
    }
    const bool isCut = resolution.search().isCut();
    if (!failed && !isCut && attemptsLeft == attempts &&
        (memory.listing() == 1 || questions.everything)) {
        for (const auto &[pid, visited] : resolution.search().visited()) {
            census.noteCompared(pid, visited.descriptors);
        }
    }
    if (isCut) {
        log.log("[helper] the search for owners was cut short",
                " after " + std::to_string(resolution.search().work()) + " descriptors");
    }

    Places unowned;
    Questions ended;
    for (const std::uint32_t place : wanted) {
        KnownSocket &known = memory.socket(place);
        known.unsure = failed;
        const bool mayMissOwner =
            failed || isCut || (known.thread != 0 && resolution.search().omitsThreads());
        if (mayMissOwner && known.verified && !known.isOpen()) {
            resolution.assume({place, known.owner, known.descriptor, known.thread});
            const std::optional<SocketOwner> better = resolution.owner(place);
            known.kept = known.kept || (better && better->pid != known.owner);
            continue; // what was missed may be just this owner
        }
        const std::optional<SocketOwner> owner = resolution.owner(place);
        if (owner && assign(place, *owner)) {
            continue;
        }
        if (owner && attemptsLeft > 0) {
            known.owner = owner->pid;
            ended.lost.push_back(place);
        } else if (!known.verified || known.attribution == KnownSocket::Attribution::Grouped) {
            unowned.push_back(place);
        }
    }
    if (!questions.everything && !failed && !isCut) {
        for (const std::uint32_t place : questions.openBelow) {
            const std::optional<SocketOwner> owner = resolution.owner(place);
            if (owner && owner->pid != memory.socket(place).owner) {
                static_cast<void>(assign(place, *owner));
            }
        }
    }
    attribute(attribution, unowned);
    markVanished(unowned);
    // An owner that ended since it was found may have left its socket to another process.
    if (!ended.none()) {
        resolve(ended, attemptsLeft - 1);
    }
}

/// Makes the process that a search has found the owner of a socket; false when it has ended.
bool ListenerInventory::Private::assign(std::uint32_t place, const SocketOwner &owner)
{
    if (!memory.assign(place, owner.pid, KnownSocket::Attribution::Held, clock)) {
        return false;
    }
    KnownSocket &known = memory.socket(place);
    known.descriptor = owner.descriptor;
    known.thread = owner.thread;
    known.manager = owner.manager;
    known.forOthers = owner.forOthers;
    known.provisional = owner.provisional;
    return true;
}

/// Puts off the next search for an owner that could not be found, each time for longer.
void ListenerInventory::Private::postpone(KnownSocket &known) const
{
    known.pause = std::min(longestPause, known.pause * 2);
    known.retryAt = memory.listing() + known.pause;
}

/// A socket that nobody holds may have been closed since it was listed; then it is nobody's.
void ListenerInventory::Private::markVanished(const Places &suspects)
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
            memory.socket(place).vanished = true;
        }
    }
}

/// Whether the group that a socket's owner was looked for in is as it was; in a group that
/// strangers share somebody always comes and goes, so that one is asked again after a pause only.
bool ListenerInventory::Private::attributionStands(std::uint32_t place)
{
    const KnownSocket &known = memory.socket(place);
    const bool isOwnerGone = known.attribution != KnownSocket::Attribution::None && !known.verified;
    if (memory.isNew(place) || isOwnerGone || known.retryAt <= memory.listing()) {
        return false;
    }
    return known.group.empty() || ControlGroups::isShared(known.group) ||
           groups.processList(known.group) == known.groupList;
}

void ListenerInventory::Private::attribute(GroupAttribution &attribution, const Places &places)
{
    for (const std::uint32_t place : places) {
        if (attributionStands(place)) {
            continue;
        }
        KnownSocket &known = memory.socket(place);
        const std::uint64_t failures = SystemFailures::count();
        GroupAttribution::Answer answer = attribution.owner(sockets[place]);
        if (SystemFailures::count() != failures) {
            known.unsure = true;
            if (known.verified) {
                continue;
            }
        }
        known.group = std::move(answer.group);
        known.unit = Utf8::sanitized(answer.unit);
        known.groupList = groups.processList(known.group);
        postpone(known);
        known.manager = false;
        known.forOthers = false;
        known.provisional = false;
        known.verified = false;
        known.attribution = KnownSocket::Attribution::None;
        if (answer.owner) {
            // A process that ends right now leaves the socket to whoever is found next time.
            static_cast<void>(
                memory.assign(place, *answer.owner, KnownSocket::Attribution::Grouped, clock));
        }
    }
}

} // namespace Tarnwick
