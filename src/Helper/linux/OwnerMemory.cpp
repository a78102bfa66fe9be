// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/OwnerMemory.h"

#include "Helper/RecordBounds.h"
#include "Helper/linux/SystemFailures.h"
#include "Helper/linux/UserNames.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/resource.h>

namespace Tarnwick {

namespace {

/// The soft limit of descriptors, less what the rest of the program and a look at the machine need,
/// shared among processes.
std::size_t mostOpenProcesses()
{
    constexpr rlim_t reserved = 128;
    constexpr rlim_t plenty = 65536;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= reserved) {
        return 0;
    }
    const rlim_t usable = std::min(limit.rlim_cur, plenty) - reserved;
    return static_cast<std::size_t>(usable / ProcessInspector::mostDescriptors);
}

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

/// The user of the socket stands where the command line would, which no process has here: it is
/// shown and searched like one.
RawPortInfo recordWithoutOwner(std::uint16_t port, const KnownSocket &known, UserNames &users)
{
    RawPortInfo record;
    record.port = port;
    record.processName = known.unit.empty() ? "unknown" : RecordBounds::name(known.unit);
    record.originArguments = {"unknown, of user " + users.name(known.user)};
    record.processStartedAt = known.firstSeen;
    return record;
}

} // namespace

OwnerMemory::OwnerMemory(int root)
    : m_root(root)
    , m_numbering(ProcFs::numbering(root))
    , m_mostOpen(mostOpenProcesses())
    , m_origins(root, m_numbering)
{
}

void OwnerMemory::check(std::span<const ListeningSocket> sockets, const BootClock &clock,
                        ProcessInspector::Reading reading)
{
    ++m_listing;
    const Timestamp now =
        std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    m_users = UserNames();
    m_places.clear();
    m_places.reserve(sockets.size());
    for (auto &[pid, process] : m_processes) {
        process.places.clear();
    }
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        const auto [entry, isNew] = m_sockets.try_emplace(sockets[place].key());
        KnownSocket &known = entry->second;
        if (isNew) {
            known.firstSeen = now;
        } else if (known.attribution != KnownSocket::Attribution::None) {
            m_processes[known.owner].places.push_back(place);
        }
        known.user = sockets[place].uid;
        known.verified = false;
        known.kept = false;
        known.vanished = false;
        known.lastListing = isNew ? 0 : m_listing;
        m_places.push_back(&known);
    }

    for (auto &[pid, process] : m_processes) {
        if (!process.places.empty()) {
            verify(process, sockets, clock, reading);
        }
    }
}

void OwnerMemory::verify(Process &process, std::span<const ListeningSocket> sockets,
                         const BootClock &clock, ProcessInspector::Reading reading)
{
    const std::uint64_t failures = SystemFailures::count();
    const bool lives = process.inspector && refresh(process, clock, reading);
    if (process.inspector && !lives && SystemFailures::count() != failures) {
        keep(process);
        return;
    }
    if (!lives) {
        forget(process);
        return;
    }
    process.readAt = m_listing;
    for (const std::uint32_t place : process.places) {
        KnownSocket &known = *m_places[place];
        const std::uint64_t before = SystemFailures::count();
        if (known.attribution == KnownSocket::Attribution::Grouped) {
            known.verified = !process.inspector->isEnding();
            continue;
        }
        if (process.inspector->hasRun() || !known.seen) {
            known.seen =
                process.inspector->holds(known.descriptor, sockets[place].inode, known.thread);
        }
        known.kept = !known.seen && SystemFailures::count() != before;
        known.verified = known.seen || known.kept;
    }
    releaseIfTooMany(process);
}

/// Leaves the owner of its sockets what it was; whether it still is could not be found out.
void OwnerMemory::keep(Process &process)
{
    for (const std::uint32_t place : process.places) {
        m_places[place]->seen = false;
        m_places[place]->kept = true;
        m_places[place]->verified = true;
    }
    if (process.inspector->isOpen()) {
        process.inspector->release();
        --m_open;
    }
}

bool OwnerMemory::refresh(Process &process, const BootClock &clock,
                          ProcessInspector::Reading reading)
{
    if (!process.inspector->isOpen()) {
        if (!openWithRoom([&process] { return process.inspector->reopen(); })) {
            return false;
        }
        ++m_open;
    }
    return process.inspector->refresh(clock, reading);
}

bool OwnerMemory::open(Process &process, pid_t pid)
{
    forget(process);
    const bool opened = openWithRoom([&] {
        process.inspector = ProcessInspector::open(m_root, pid, m_numbering);
        return process.inspector != nullptr;
    });
    m_open += opened ? 1 : 0;
    return opened;
}

/// Opens a process's files. Where no descriptors are left for them, those that are kept open make
/// room, and fewer are kept from then on: to be without descriptors is not to have ended.
template<class Open>
bool OwnerMemory::openWithRoom(const Open &open)
{
    errno = 0;
    if (open()) {
        return true;
    }
    if ((errno != EMFILE && errno != ENFILE) || m_open == 0) {
        return false;
    }
    closeFiles();
    return open();
}

void OwnerMemory::makeRoom()
{
    // Two for each thread of the look.
    constexpr std::size_t ofALook = 8;
    std::array<FileDescriptor, ofALook> tried;
    const bool areLeft = std::all_of(tried.begin(), tried.end(), [this](FileDescriptor &room) {
        room = FileDescriptor(::fcntl(m_root, F_DUPFD_CLOEXEC, 0));
        return static_cast<bool>(room);
    });
    if (!areLeft) {
        closeFiles();
    }
}

void OwnerMemory::closeFiles()
{
    m_mostOpen = m_open / 2;
    for (auto &[pid, process] : m_processes) {
        if (process.inspector) {
            process.inspector->release();
        }
    }
    m_open = 0;
}

void OwnerMemory::forget(Process &process)
{
    if (process.inspector && process.inspector->isOpen()) {
        --m_open;
    }
    process.inspector.reset();
    process.origin = {};
}

void OwnerMemory::releaseIfTooMany(Process &process)
{
    if (m_open > m_mostOpen) {
        process.inspector->release();
        --m_open;
    }
}

bool OwnerMemory::isNew(std::size_t place) const
{
    return m_places[place]->lastListing == 0;
}

bool OwnerMemory::assign(std::size_t place, pid_t pid, KnownSocket::Attribution attribution,
                         const BootClock &clock)
{
    Process &process = m_processes[pid];
    if (process.readAt != m_listing || !process.inspector) {
        // One that is known stays so: what it is called does not change while it listens.
        const bool isKnown =
            process.inspector && refresh(process, clock, ProcessInspector::Reading::Everything);
        if (!isKnown && (!open(process, pid) || !process.inspector->refresh(clock))) {
            forget(process);
            return false;
        }
        process.readAt = m_listing;
        releaseIfTooMany(process);
    }
    KnownSocket &known = *m_places[place];
    known.attribution = attribution;
    known.owner = pid;
    known.verified = true;
    known.kept = false;
    known.seen = false;
    return true;
}

const ProcessInspector *OwnerMemory::owner(const KnownSocket &known) const
{
    if (!known.verified) {
        return nullptr;
    }
    const auto process = m_processes.find(known.owner);
    return process == m_processes.end() ? nullptr : process->second.inspector.get();
}

void OwnerMemory::findOrigins(AncestorProcess::Processes processes)
{
    for (const KnownSocket *known : m_places) {
        if (known->verified) {
            m_processes[known->owner].ownsAt = m_listing;
        }
    }
    std::vector<CommandOrigins::Owner> owners;
    for (auto &[pid, process] : m_processes) {
        if (process.ownsAt == m_listing && process.inspector) {
            owners.push_back({process.inspector.get(), &process.origin});
        }
    }
    m_origins.update(owners, processes);
}

std::size_t OwnerMemory::recordCost(const KnownSocket &known) const
{
    const ProcessInspector *process = owner(known);
    return process != nullptr ? process->details().recordCost
                              : RecordBounds::cost(recordWithoutOwner(0, known, m_users));
}

/// What one record may cost: whatever it does, unless all are too large together.
std::size_t OwnerMemory::recordShare() const
{
    std::size_t greatest = RecordBounds::costWithName;
    for (const auto &[pid, process] : m_processes) {
        if (process.inspector) {
            greatest = std::max(greatest, process.inspector->details().recordCost);
        }
    }
    if (greatest * m_places.size() <= RecordBounds::maxListingSize) {
        return RecordBounds::maxListingSize;
    }
    std::size_t cost = 0;
    for (const KnownSocket *known : m_places) {
        cost += recordCost(*known);
    }
    return cost <= RecordBounds::maxListingSize ? RecordBounds::maxListingSize
                                                : RecordBounds::share(m_places.size());
}

std::vector<RawPortInfo> OwnerMemory::records(std::span<const ListeningSocket> sockets) const
{
    const std::size_t share = recordShare();
    // A process may have thousands of sockets, whose records are the same but for the port.
    std::unordered_map<const ProcessInspector *, RawPortInfo> shortened;
    std::vector<RawPortInfo> records;
    records.reserve(sockets.size());
    for (std::size_t place = 0; place < sockets.size(); ++place) {
        const KnownSocket &known = *m_places[place];
        if (known.vanished) {
            continue;
        }
        const ProcessInspector *process = owner(known);
        if (process == nullptr || process->details().recordCost <= share) {
            records.push_back(record(sockets[place], place, share));
            continue;
        }
        const auto [cut, isNew] = shortened.try_emplace(process);
        if (isNew) {
            cut->second = record(sockets[place], place, share);
        }
        records.push_back(cut->second);
        records.back().port = sockets[place].port;
    }
    return records;
}

void OwnerMemory::forEachForwarded(
    const std::function<void(std::size_t, const ProcessInspector &)> &visit) const
{
    const bool anyForwarder =
        std::any_of(m_processes.begin(), m_processes.end(), [](const auto &entry) {
            const auto &inspector = entry.second.inspector;
            return inspector && inspector->details().forwarder;
        });
    for (std::size_t place = 0; anyForwarder && place < m_places.size(); ++place) {
        const ProcessInspector *const process = owner(*m_places[place]);
        if (process != nullptr && process->details().forwarder && !m_places[place]->vanished) {
            visit(place, *process);
        }
    }
}

RawPortInfo OwnerMemory::record(const ListeningSocket &socket, std::size_t place,
                                std::size_t share) const
{
    const ProcessInspector *const process = ownerAt(place);
    RawPortInfo record = process != nullptr
                             ? recordOf(socket, *process)
                             : recordWithoutOwner(socket.port, *m_places[place], m_users);
    const bool fits = process != nullptr && process->details().recordCost <= share;
    return fits ? record : RecordBounds::shortened(record, share);
}

std::vector<Ownership> OwnerMemory::ownerships(std::span<const std::int32_t> pids) const
{
    if (pids.empty()) {
        return {};
    }
    std::unordered_map<pid_t, Ownership::Kind> kinds;
    for (const KnownSocket *known : m_places) {
        if (owner(*known) == nullptr) {
            continue;
        }
        Ownership::Kind kind = Ownership::Kind::Seen;
        if (known->attribution != KnownSocket::Attribution::Held || known->kept) {
            kind = Ownership::Kind::Presumed;
        } else if (known->forOthers) {
            kind = Ownership::Kind::ForOthers;
        }
        Ownership::Kind &most = kinds[known->owner];
        most = std::max(most, kind);
    }
    std::vector<Ownership> found;
    found.reserve(pids.size());
    for (const std::int32_t pid : pids) {
        const auto kind = kinds.find(pid);
        found.push_back({kind == kinds.end() ? Ownership::Kind::None : kind->second});
    }
    return found;
}

void OwnerMemory::finish()
{
    for (KnownSocket *known : m_places) {
        known->lastListing = m_listing;
    }
    m_places.clear();
    std::erase_if(m_sockets,
                  [this](const auto &entry) { return entry.second.lastListing != m_listing; });
    for (auto &[pid, process] : m_processes) {
        if (process.ownsAt != m_listing) {
            forget(process);
        }
    }
    std::erase_if(m_processes,
                  [this](const auto &entry) { return entry.second.ownsAt != m_listing; });
}

void OwnerMemory::startOver() noexcept
{
    m_places.clear();
    m_sockets.clear();
    m_processes.clear();
    m_origins.startOver();
    m_open = 0;
    m_listing = 0;
}

std::vector<ReportedProcess> OwnerMemory::reported() const
{
    std::vector<ReportedProcess> reported;
    reported.reserve(m_processes.size());
    for (const auto &[pid, process] : m_processes) {
        if (process.inspector) {
            reported.push_back(
                {process.inspector->identity(), process.inspector->details().program});
        }
    }
    return reported;
}

} // namespace Tarnwick
