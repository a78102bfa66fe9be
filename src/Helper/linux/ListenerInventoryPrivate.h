// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/HourlyLog.h"
#include "Helper/ListenerInventory.h"
#include "Helper/linux/BootClock.h"
#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/ForwardingCache.h"
#include "Helper/linux/GroupAttribution.h"
#include "Helper/linux/HolderSearch.h"
#include "Helper/linux/OwnerMemory.h"
#include "Helper/linux/OwnerResolution.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessCensus.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/ThreadScanBackoff.h"
#include "Shared/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace Tarnwick {

/// What an inventory remembers, and how it resolves which process owns which socket. Belongs to the
/// inventory and its thread.
struct ListenerInventory::Private
{
    explicit Private(const Options &options)
        : auditInterval(options.auditInterval)
        , auditShare(options.auditShare)
        , limits({.process = options.mostWorkOnProcess, .total = options.mostWork})
        , searchTime(options.maxSearchTime)
        , log(options.log)
        , root(ProcFs::openRoot())
        , dump(options.source)
        , census(root.get())
        , memory(root.get())
        , forwardings(root.get())
    {
    }

    using Places = std::vector<std::uint32_t>;
    using Clock = std::chrono::steady_clock;

    /// How often the owners of a listing are searched for, when some end meanwhile or a search
    /// fails.
    static constexpr int attempts = 3;

    /// The sockets of a listing whose owner has to be looked for, by why.
    struct Questions
    {
        Places fresh;            ///< not seen before
        Places lost;             ///< their owner is gone or has them no more
        Places open;             ///< without an owner that is sure to stay, and worth another look
        Places openBelow;        ///< whose owner stays unless a new process has a lower descriptor
        Places doubtful;         ///< whose owner is to be found as in a first listing
        bool everything = false; ///< check all that is remembered, too

        [[nodiscard]] bool none() const
        {
            return fresh.empty() && lost.empty() && open.empty() && openBelow.empty() &&
                   doubtful.empty() && !everything;
        }
    };

    template<class Call>
    [[nodiscard]] bool tryWithMemory(const Call &scan);
    [[nodiscard]] Scan scan(const ScanRequest &request);
    [[nodiscard]] std::optional<ListingError> visit(const PortVisitor &visitor);
    [[nodiscard]] std::vector<std::uint64_t> reportedSockets();
    [[nodiscard]] std::vector<ListenerDetails> reportedDetails();
    void findForwarded();
    void describeForwarded(RawPortInfo &record, const ListeningSocket &socket,
                           std::size_t count) const;
    [[nodiscard]] std::optional<ListingError> update(const ScanRequest &request);
    [[nodiscard]] Questions questions(ProcessCensus::Pulse pulse,
                                      std::span<const std::int32_t> owners);
    void beginLook(ProcessCensus::Purpose purpose);
    void compareWithChanged();
    [[nodiscard]] Places heldByBetterOwners();
    void resolve(const Questions &questions, int attemptsLeft);
    [[nodiscard]] bool assign(std::uint32_t place, const SocketOwner &owner);
    [[nodiscard]] Places inheritedFromAnybody(OwnerResolution &resolution, const Places &fresh);
    void look(OwnerResolution &resolution, GroupAttribution &attribution,
              const Questions &questions);
    [[nodiscard]] bool anyDue(const Places &places);
    void logFailures();
    [[nodiscard]] bool leadsToOwner(GroupAttribution &attribution, OwnerResolution &resolution,
                                    std::uint32_t place) const;
    void attribute(GroupAttribution &attribution, const Places &places);
    [[nodiscard]] bool attributionStands(std::uint32_t place);
    void postpone(KnownSocket &known) const;
    void markVanished(const Places &suspects);

    std::chrono::seconds auditInterval;
    int auditShare;
    HolderSearch::Limits limits; ///< of the searches of one scan
    std::chrono::milliseconds searchTime;
    HourlyLog log;
    FileDescriptor root;
    SocketDump dump;
    ControlGroups groups;
    BootClock clock;
    ProcessCensus census;
    OwnerMemory memory;
    ForwardingCache forwardings;
    bool processesChanged = true; ///< since the scan before
    ThreadScanBackoff backoff;
    std::vector<ListeningSocket> sockets;
    SharedProcessReport report = std::make_shared<const ProcessReport>();
    std::chrono::steady_clock::time_point nextAudit;
    std::chrono::steady_clock::time_point nextComparison;
    bool isInterrupted = false; ///< the last scan was not finished
};

} // namespace Tarnwick
