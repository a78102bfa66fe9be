// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "Helper/linux/CommandOrigins.h"
#include "Helper/linux/HolderSearch.h"
#include "Helper/linux/ProcessInspector.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/UserNames.h"
#include "Models/Timestamp.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// What is remembered of a listening socket from one listing to the next.
struct KnownSocket
{
    enum class Attribution {
        None,   ///< nobody can tell who owns it
        Held,   ///< the owner has it open, as was seen
        Grouped ///< the owner may not be looked at; its control group led to it
    };

    Attribution attribution = Attribution::None;
    uid_t user = 0; ///< of the socket
    pid_t owner = 0;
    unsigned descriptor = 0; ///< the owner's number for it
    pid_t thread = 0;        ///< the thread whose number that is; 0 where all threads share it
    bool manager = false;    ///< held by a service manager for a service that does not run
    bool forOthers = false;  ///< held for others, who do not have it now: no server ends with it
    /// The owner only keeps it for others, or was handed it: another holder would take its place.
    bool provisional = false;
    bool verified = false; ///< in this listing
    bool kept = false;     ///< it could not be verified in this listing, and is told as it was
    bool unsure = false;   ///< the search for its owner failed at something that may pass
    bool vanished = false; ///< closed while this listing was made
    bool seen = false;     ///< the owner was seen to have it when it had run last
    Timestamp firstSeen;
    std::string group;     ///< control group in which the owner was looked for
    std::string groupList; ///< the processes that the group had then
    std::string unit;      ///< of the service manager
    std::uint64_t lastListing = 0;
    std::uint64_t retryAt = 0; ///< the listing at which to look everywhere once more
    std::uint64_t pause = 1;   ///< between two such looks, in listings

    /// Whether a process that is yet to come may turn out to be the owner.
    [[nodiscard]] bool isOpen() const { return attribution != Attribution::Held || provisional; }
    /// Whether one that gets it under a lower descriptor would be: the owner's is not in the lowest
    /// range, up to which each search goes.
    [[nodiscard]] bool isOpenBelow() const
    {
        return !isOpen() && HolderSearch::bandOf(descriptor) > 0;
    }
};

/// Remembers the sockets that listen and the processes that own them. One check of each tells
/// whether what is remembered still holds; where the check itself fails for a moment
/// (SystemFailures), it does. Keeps the files of as many processes open as this process may.
class OwnerMemory
{
public:
    explicit OwnerMemory(int root);

    /// Begins a listing of @p sockets: remembers those that are new, and checks for each of the
    /// others that its owner still lives and still has it, reading the owners' details on the way.
    void check(std::span<const ListeningSocket> sockets, const BootClock &clock,
               ProcessInspector::Reading reading);

    /// Sees to it that a look at the machine finds descriptors left.
    void makeRoom();

    /// What is remembered of a socket, by its place in the listing.
    [[nodiscard]] KnownSocket &socket(std::size_t place) { return *m_places[place]; }

    /// Whether this is the first that is seen of the socket.
    [[nodiscard]] bool isNew(std::size_t place) const;

    /// Makes @p pid the owner of a socket. False when the process has ended.
    [[nodiscard]] bool assign(std::size_t place, pid_t pid, KnownSocket::Attribution attribution,
                              const BootClock &clock);

    /// Finds what the user typed to start the owners, once they are all known.
    void findOrigins(AncestorProcess::Processes processes);

    /// What this listing tells: a record for each socket that has not vanished, within the bounds
    /// of a listing (see RecordBounds).
    [[nodiscard]] std::vector<RawPortInfo> records(std::span<const ListeningSocket> sockets) const;

    /// Calls @p visit with the place of each socket whose owner runs the program of a forwarder,
    /// and with that owner.
    void forEachForwarded(
        const std::function<void(std::size_t place, const ProcessInspector &owner)> &visit) const;

    /// What each of these records may cost (RecordBounds::cost).
    [[nodiscard]] std::size_t recordShare() const;

    /// One of these records, that of @p socket, by its place in the listing, as long as it costs no
    /// more than @p share.
    [[nodiscard]] RawPortInfo record(const ListeningSocket &socket, std::size_t place,
                                     std::size_t share) const;

    /// The owner of a socket by its place in the listing; null where it is unknown.
    [[nodiscard]] const ProcessInspector *ownerAt(std::size_t place) const
    {
        return owner(*m_places[place]);
    }

    /// What this listing found each of @p pids to own, in their order.
    [[nodiscard]] std::vector<Ownership> ownerships(std::span<const std::int32_t> pids) const;

    /// Ends the listing, whose origins were found: forgets what it did not touch.
    void finish();

    /// The owners that the listing which was finished last found.
    [[nodiscard]] std::vector<ReportedProcess> reported() const;

    /// Forgets all sockets and processes: for a listing that could not be finished. The next one is
    /// like the first.
    void startOver() noexcept;

    [[nodiscard]] std::uint64_t listing() const { return m_listing; }

private:
    struct Process
    {
        std::unique_ptr<ProcessInspector> inspector;
        CommandOrigins::State origin;
        std::vector<std::uint32_t> places; ///< of its sockets in this listing
        std::uint64_t readAt = 0;          ///< the listing in which it was found alive last
        std::uint64_t ownsAt = 0;          ///< the listing in which it owned something last
    };

    void keep(Process &process);
    void verify(Process &process, std::span<const ListeningSocket> sockets, const BootClock &clock,
                ProcessInspector::Reading reading);
    [[nodiscard]] bool refresh(Process &process, const BootClock &clock,
                               ProcessInspector::Reading reading);
    [[nodiscard]] bool open(Process &process, pid_t pid);
    template<class Open>
    [[nodiscard]] bool openWithRoom(const Open &open);
    void closeFiles();
    void forget(Process &process);
    void releaseIfTooMany(Process &process);
    [[nodiscard]] const ProcessInspector *owner(const KnownSocket &known) const;
    [[nodiscard]] std::size_t recordCost(const KnownSocket &known) const;

    int m_root;
    ProcFs::Numbering m_numbering;
    std::size_t m_mostOpen; ///< how many processes' files may be kept open
    std::size_t m_open = 0; ///< how many are
    std::uint64_t m_listing = 0;
    std::unordered_map<std::uint64_t, KnownSocket> m_sockets;
    std::unordered_map<pid_t, Process> m_processes;
    CommandOrigins m_origins;
    std::vector<KnownSocket *> m_places;
    mutable UserNames m_users; ///< read again in each listing in which a name is needed
};

} // namespace Tarnwick
