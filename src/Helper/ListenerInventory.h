// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerDetails.h"
#include "Helper/ProcessIdentity.h"
#include "Helper/ProcessReport.h"
#include "Shared/RawPortInfo.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// Why the listening sockets could not be listed.
struct ListingError
{
    int code = 0;        ///< errno of the step that failed
    std::string message; ///< what failed and why, for people
};

using Listing = std::variant<std::vector<RawPortInfo>, ListingError>;

/// What a process is to the sockets that listen, as far as it allows to end the process for them.
struct Ownership
{
    /// The later, the more certain.
    enum class Kind {
        None, ///< it owns none
        /// It cannot be looked into, now or at all: its control group or an earlier look led to it.
        Presumed,
        /// A service manager, which holds them for services that do not run, or a message bus that
        /// has them in flight.
        ForOthers,
        Seen ///< it was seen just now to have one of them open
    };
    Kind kind = Kind::None;
};

/// What one scan is to find out.
struct ScanRequest
{
    bool records = true;              ///< what listens
    std::vector<std::int32_t> owners; ///< the processes whose ownership is wanted
    bool details = false;             ///< what is known beside the records
};

struct ScanResult
{
    std::vector<RawPortInfo> records;  ///< empty where they are not wanted
    SharedProcessReport report;        ///< the owners in the records
    std::vector<Ownership> ownerships; ///< of the processes that were asked for, in their order
    /// The identity of the socket behind each of the records, in their order: the same in every
    /// scan as long as the socket lives, whichever processes hold it. Not reported to clients.
    std::vector<std::uint64_t> sockets{};
    /// For each of the records, in their order; empty where they are not wanted.
    std::vector<ListenerDetails> details{};
};

using Scan = std::variant<ScanResult, ListingError>;

/// A listening socket while it is passed on. What it refers to lasts as long as the call.
struct VisitedListener
{
    const RawPortInfo *record = nullptr;
    const ListenerDetails *details = nullptr;
    /// The number of its owner in this visit, from 1: the records of an owner differ in nothing but
    /// the port. 0 for one whose record is its own.
    std::size_t owner = 0;
};

/// Takes all that listens on one port, ordered by process identifier and then by name.
using PortVisitor = std::function<void(std::span<const VisitedListener> listeners)>;

/// Everything that listens on a TCP port in this network namespace, with the process that owns each
/// listening socket. It remembers between calls who owned which socket, so that a listing in which
/// nothing changed costs one check for each listener, and, as far as its share of the time allows,
/// one for each process; a first listing is the same code with nothing remembered. Belongs to one
/// thread.
class ListenerInventory
{
public:
    enum class SocketSource {
        Automatic,  ///< socket diagnostics, and the tables in /proc/net where those are refused
        ProcNetTcp, ///< the tables in /proc/net only
    };

    struct Options
    {
        SocketSource source = SocketSource::Automatic;
        /// How often everything remembered is checked against a look at the whole machine, which
        /// gives what a first listing would. Between two of these only one change goes unseen: a
        /// process that was there before is handed a socket of which it would be the owner, and has
        /// as many descriptors as before, since it has closed others. The owners that a scan is
        /// asked for are found as in a first listing.
        std::chrono::seconds auditInterval{300};
        /// The interval grows so that such a look takes no more than one part in this many of the
        /// time; nor does the one at the processes whose number of descriptors has changed, which
        /// is made in every listing otherwise.
        int auditShare = 500;
        /// The most work of one search for owners, in looks at a descriptor, and that on one
        /// process. What is found by then is told, and of other sockets no owner.
        std::uint64_t mostWork = 2'000'000;
        std::uint64_t mostWorkOnProcess = 200'000;
        /// The most time of all searches of one scan, and of one look at a process's descriptors.
        std::chrono::milliseconds maxSearchTime{3000};
        /// Takes lines for the diagnostic log: what failed in a listing, each kind once in an hour.
        std::function<void(std::string_view line)> log{};
    };

    ListenerInventory();
    explicit ListenerInventory(const Options &options);
    ~ListenerInventory();
    ListenerInventory(const ListenerInventory &) = delete;
    ListenerInventory &operator=(const ListenerInventory &) = delete;

    /// What is wanted, as of one moment. There is a record for each listening socket, ordered by
    /// port. A socket whose owner nobody can tell is there with `pid` 0, the name of its service
    /// manager's unit or "unknown" for the process, the socket's user in `originArguments`
    /// ("unknown, of user root"), and the time at which it was first seen, for no process is known
    /// that could have started. An owner that cannot be checked for the moment, because the system
    /// is short of descriptors or memory, stays what it was. Fails only when the sockets themselves
    /// cannot be listed.
    [[nodiscard]] Scan scan(const ScanRequest &request);

    /// The records of a scan of their own.
    [[nodiscard]] Listing list();

    /// What a scan for records and details finds, passed to @p visitor port by port, in order, and
    /// kept nowhere: of thousands of listeners the memory is what takes time. Passes on nothing
    /// when it fails.
    [[nodiscard]] std::optional<ListingError> visit(const PortVisitor &visitor);

    /// The owners in the latest records; empty before the first. They may have ended since.
    [[nodiscard]] SharedProcessReport report() const;

    /// What @p pid owns now, by a scan of its own, which leaves report() as it was.
    [[nodiscard]] std::variant<Ownership, ListingError> ownership(std::int32_t pid);

    /// Whether @p pid itself has one of the sockets open that listened at the latest scan, by a
    /// look at each of its descriptors, or the errno of what kept us from looking; ETIME where it
    /// has more descriptors than can be looked at in Options::maxSearchTime.
    [[nodiscard]] std::variant<bool, int> holdsListener(std::int32_t pid) const;

    struct Private;

private:
    std::unique_ptr<Private> m_private;
};

} // namespace Tarnwick
