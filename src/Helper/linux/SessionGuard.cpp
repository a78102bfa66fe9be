// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/SessionGuard.h"

#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/HeldSockets.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessRoles.h"
#include "Helper/linux/SessionSockets.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/SocketFile.h"
#include "Helper/linux/SystemFailures.h"
#include "Helper/linux/UnixListeners.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

namespace Tarnwick {

namespace {

using Address = SessionSockets::Address;
using Deadline = HeldSockets::Deadline;
using Part = SessionGuard::Part;

/// Thrown, and caught in SessionGuard::part(), where something cannot be found out.
struct Undecided
{
    int code = 0;
    std::string reason{};     ///< for people; empty where the code says it all
    bool isOfProcess = false; ///< it was a look at the process itself
};

std::string reasonFor(const std::string &call, int code)
{
    return call + ": " + std::strerror(code);
}

bool isGone(int code)
{
    return code == ENOENT || code == ESRCH;
}

/// Who listens at an address, as far as a connection tells: the process that began to listen there,
/// -1 where it is not to be known. Nothing when nobody listens. @p file is that of a path.
std::optional<pid_t> listenerAt(const Address &address, const std::optional<SocketFile> &file)
{
    sockaddr_un target = {};
    target.sun_family = AF_UNIX;
    const std::string name = file ? file->path() : std::string(1, '\0') + address.name;
    if (name.size() >= sizeof(target.sun_path)) {
        return std::nullopt; // longer than any abstract name can be
    }
    std::copy(name.begin(), name.end(), static_cast<char *>(target.sun_path));
    const std::size_t size = offsetof(sockaddr_un, sun_path) + name.size() + (file ? 1U : 0U);
    const FileDescriptor connection(
        ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    ucred peer = {};
    socklen_t sizeOfPeer = sizeof(peer);
    const bool isKnown =
        connection &&
        ::connect(connection.get(), reinterpret_cast<const sockaddr *>(&target),
                  static_cast<socklen_t>(size)) == 0 &&
        ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &sizeOfPeer) == 0;
    if (!isKnown && SystemFailures::isTransient(errno)) {
        const int code = errno;
        throw Undecided{.code = code,
                        .reason = reasonFor(connection ? "connect" : "socket(AF_UNIX)", code)};
    }
    if (!isKnown && errno == ECONNREFUSED) {
        return std::nullopt;
    }
    return isKnown && peer.pid > 0 ? peer.pid : -1;
}

/// What listens at the addresses of a session.
struct Listening
{
    /// Who began to listen at an address whose socket is not known.
    struct Answerer
    {
        pid_t pid = -1; ///< -1 when that is not known
        Part part = Part::MessageBus;
    };

    std::map<std::uint32_t, Part> sockets; ///< by inode
    bool hasSessionBus = false; ///< whether one of these is that of the session's message bus
    std::vector<Answerer> answerers;
    /// UNIX sockets one of which may listen at an answerer's address; nothing where the kernel
    /// tells which does.
    std::set<std::uint32_t> possible;
    Undecided failure; ///< why the kernel does not tell

    void add(std::uint32_t socket, const Address &address)
    {
        sockets.emplace(socket, address.part);
        hasSessionBus = hasSessionBus || address.isSessionBus;
    }
};

/// The file at the path of an address; none where no program of this user could reach a socket.
std::optional<SocketFile> openFile(const Address &address, MountTable &mounts)
{
    const auto links =
        address.followsLinks ? SocketFile::Links::Followed : SocketFile::Links::NotFollowed;
    std::variant<SocketFile, int> opened = SocketFile::open(address.name, links, mounts);
    if (const int *code = std::get_if<int>(&opened)) {
        if (SystemFailures::isTransient(*code)) {
            throw Undecided{.code = *code};
        }
        return std::nullopt;
    }
    return std::get<SocketFile>(std::move(opened));
}

/// The sockets among @p listeners that listen at an address.
std::vector<std::uint32_t> socketsAt(const Address &address,
                                     const std::vector<UnixListener> &listeners,
                                     const std::optional<SocketFile> &file)
{
    std::vector<std::uint32_t> found;
    const std::string abstractName = std::string(1, '\0') + address.name;
    for (const UnixListener &listener : listeners) {
        const bool isThere = address.kind == Address::Kind::Abstract ? listener.name == abstractName
                                                                     : file && file->isOf(listener);
        if (isThere) {
            found.push_back(listener.inode);
        }
    }
    return found;
}

void addPorts(const std::vector<Address> &addresses, Listening &listening)
{
    const auto isPort = [](const Address &one) { return one.kind == Address::Kind::Port; };
    if (std::none_of(addresses.begin(), addresses.end(), isPort)) {
        return;
    }
    SocketDump dump(ListenerInventory::SocketSource::Automatic);
    std::vector<ListeningSocket> sockets;
    if (const std::optional<ListingError> error = dump.list(sockets)) {
        throw Undecided{.code = error->code, .reason = error->message};
    }
    for (const Address &address : addresses) {
        for (const ListeningSocket &socket : sockets) {
            if (isPort(address) && socket.port == address.port) {
                listening.add(socket.inode, address);
            }
        }
    }
}

Listening listeningAt(int root, const std::vector<Address> &addresses)
{
    constexpr std::size_t maxTableBytes = 64UL * 1024 * 1024;
    Listening found;
    MountTable mounts(root);
    addPorts(addresses, found);
    std::optional<std::variant<std::vector<UnixListener>, SystemFailures::Failure>> listeners;
    for (const Address &address : addresses) {
        std::optional<SocketFile> file;
        if (address.kind == Address::Kind::Path) {
            file = openFile(address, mounts);
        }
        if (address.kind == Address::Kind::Port || (address.kind == Address::Kind::Path && !file)) {
            continue;
        }
        if (!listeners) {
            listeners = UnixListeners::list();
        }
        const auto *known = std::get_if<std::vector<UnixListener>>(&*listeners);
        const std::vector<std::uint32_t> sockets =
            known != nullptr ? socketsAt(address, *known, file) : std::vector<std::uint32_t>();
        for (const std::uint32_t socket : sockets) {
            found.add(socket, address);
        }
        if (!sockets.empty()) {
            continue;
        }
        if (const std::optional<pid_t> pid = listenerAt(address, file)) {
            found.answerers.push_back({*pid, address.part});
        }
    }
    const auto *const refused =
        listeners ? std::get_if<SystemFailures::Failure>(&*listeners) : nullptr;
    if (refused != nullptr && !found.answerers.empty()) {
        const bool isUnsupported = refused->code == ENOENT || refused->code == EPROTONOSUPPORT;
        found.failure = isUnsupported
                            ? Undecided{.code = EOPNOTSUPP}
                            : Undecided{.code = refused->code,
                                        .reason = reasonFor(refused->call, refused->code)};
        std::string table;
        if (!ProcFs::readFile(root, "self/net/unix", table, maxTableBytes)) {
            throw Undecided{.code = errno, .reason = reasonFor("/proc/net/unix", errno)};
        }
        found.possible = UnixListeners::possibleInodes(table);
    }
    return found;
}

/// What a process is by the sockets that it has open; those of its threads count, too, where the
/// main thread has ended.
class SocketMatch
{
public:
    SocketMatch(int root, pid_t pid, const Listening &listening, Deadline deadline)
        : m_listening(listening)
        , m_deadline(deadline)
    {
        const FileDescriptor own = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
        const int code = errno;
        const bool hasMainThread = own || !ProcFs::isOwnWithoutMainThread(root, pid);
        errno = code;
        if (hasMainThread && look(own) != 0) {
            return;
        }
        const FileDescriptor folder = ProcFs::openDirectoryOfProcess(root, pid, "/task");
        std::vector<ProcFs::NumberedEntry> threads;
        if (!folder || !ProcFs::readNumbers(folder.get(), threads)) {
            failUnlessGone(errno);
            return;
        }
        for (const ProcFs::NumberedEntry &thread : threads) {
            if (!hasMainThread && thread.number == static_cast<unsigned>(pid)) {
                continue;
            }
            const std::string name = std::to_string(thread.number) + "/fd";
            // All living threads but a few share one table.
            if (look(ProcFs::openDirectory(folder.get(), name.c_str())) != 0) {
                return;
            }
        }
    }

    /// That of a socket which listens at an address.
    [[nodiscard]] std::optional<Part> part() const { return m_part; }
    /// Whether it has one that may listen at an address.
    [[nodiscard]] bool isPossible() const { return m_isPossible; }

private:
    static void failUnlessGone(int code)
    {
        if (!isGone(code)) {
            throw Undecided{.code = code, .isOfProcess = true};
        }
    }

    /// How many descriptors there are in a directory PID/fd.
    std::size_t look(const FileDescriptor &descriptors)
    {
        if (!descriptors) {
            failUnlessGone(errno);
            return 0;
        }
        const HeldSockets::Look looked =
            HeldSockets::each(descriptors.get(), m_deadline, [this](std::uint32_t inode) {
                if (const auto known = m_listening.sockets.find(inode);
                    known != m_listening.sockets.end()) {
                    m_part = known->second;
                }
                m_isPossible = m_isPossible || m_listening.possible.contains(inode);
                return !m_part;
            });
        if (looked.code != 0) {
            throw Undecided{.code = looked.code, .isOfProcess = true};
        }
        return looked.descriptors;
    }

    const Listening &m_listening;
    Deadline m_deadline;
    std::optional<Part> m_part;
    bool m_isPossible = false;
};

/// What a process is by the sockets that it has open. A bus or a compositor may have been given its
/// socket by who started it, whom alone the kernel names then.
std::optional<Part> partBySockets(int root, pid_t pid, const Listening &listening,
                                  Deadline deadline)
{
    if (!listening.sockets.empty() || !listening.possible.empty()) {
        const SocketMatch match(root, pid, listening, deadline);
        if (match.part()) {
            return match.part();
        }
        if (match.isPossible()) {
            throw listening.failure;
        }
    }
    const auto answerer =
        std::find_if(listening.answerers.begin(), listening.answerers.end(),
                     [pid](const Listening::Answerer &one) { return one.pid == pid; });
    return answerer != listening.answerers.end() ? std::optional(answerer->part) : std::nullopt;
}

/// Whether the process is in the service of a message bus, of a user's or of the system.
bool isInServiceOfBus(int root, pid_t pid)
{
    constexpr std::size_t longest = 64UL * 1024;
    std::string text;
    const FileDescriptor file = ProcFs::openOfProcess(root, pid, "/cgroup");
    if (!file || !ProcFs::readWhole(file.get(), text, longest)) {
        if (isGone(errno)) {
            return false;
        }
        throw Undecided{.code = errno, .isOfProcess = true};
    }
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        const std::string unit = ControlGroups::unit(line);
        if (unit == "dbus.service" || unit == "dbus-broker.service") {
            return true;
        }
    }
    return false;
}

/// The users of a process; none when it has ended.
std::vector<uid_t> usersOf(int directory)
{
    constexpr std::size_t maxStatusBytes = 64UL * 1024;
    std::string status;
    if (!ProcFs::readFile(directory, "status", status, maxStatusBytes)) {
        if (isGone(errno)) {
            return {};
        }
        throw Undecided{.code = errno, .isOfProcess = true};
    }
    std::vector<uid_t> users = ProcFs::parseUsers(status);
    std::sort(users.begin(), users.end());
    users.erase(std::unique(users.begin(), users.end()), users.end());
    return users;
}

std::optional<Part> find(pid_t pid, Deadline deadline)
{
    errno = 0;
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor process = root ? ProcFs::openProcess(root.get(), pid) : FileDescriptor();
    const std::optional<ProcFs::Stat> stat = process ? ProcFs::stat(process.get()) : std::nullopt;
    if (!stat) {
        if (root && isGone(errno)) {
            return std::nullopt;
        }
        throw Undecided{.code = errno != 0 ? errno : EIO, .isOfProcess = true};
    }
    const std::vector<uid_t> users = usersOf(process.get());
    const ProcessRoles::Role role = ProcessRoles(root.get()).role(pid, *stat);
    if (role == ProcessRoles::Role::ServiceManager) {
        return Part::ServiceManager;
    }
    const bool isBus = role == ProcessRoles::Role::MessageBus;
    if (isBus && isInServiceOfBus(root.get(), pid)) {
        return Part::MessageBus;
    }
    const std::variant<std::vector<Address>, int> found = SessionSockets::addresses(users);
    if (const int *code = std::get_if<int>(&found)) {
        throw Undecided{.code = *code};
    }
    const Listening listening = listeningAt(root.get(), std::get<std::vector<Address>>(found));
    if (isBus && !listening.hasSessionBus) {
        return Part::MessageBus; // it cannot be distinguished from the session's
    }
    return partBySockets(root.get(), pid, listening, deadline);
}

std::string reasonFor(const Undecided &undecided)
{
    if (!undecided.reason.empty()) {
        return undecided.reason;
    }
    switch (undecided.code) {
    case EOPNOTSUPP:
        return "the kernel has no diagnostics of UNIX sockets (unix_diag)";
    case E2BIG:
        return "too many sockets in /tmp/.X11-unix or /run/user";
    case ETIME:
        return "it has too many descriptors";
    default:
        return std::strerror(undecided.code);
    }
}

SessionGuard::Failure failure(std::int32_t pid, const Undecided &undecided)
{
    return {undecided.code,
            "cannot tell whether process " + std::to_string(pid) +
                " is a part of the session: " + reasonFor(undecided),
            undecided.isOfProcess};
}

} // namespace

SessionGuard::Answer SessionGuard::part(std::int32_t pid, std::chrono::milliseconds maxTime)
{
    const std::uint64_t failures = SystemFailures::count();
    try {
        const std::optional<Part> found = find(pid, std::chrono::steady_clock::now() + maxTime);
        // A call that failed for a moment may have hidden what the process is.
        if (!found && SystemFailures::count() != failures) {
            return failure(pid, Undecided{.code = EAGAIN});
        }
        return found;
    } catch (const Undecided &undecided) {
        return failure(pid, undecided);
    }
}

std::string_view SessionGuard::name(Part part)
{
    switch (part) {
    case Part::MessageBus:
        return "the message bus of the session";
    case Part::DisplayServer:
        return "the display server of the session";
    case Part::ServiceManager:
        break;
    }
    return "a service manager";
}

} // namespace Tarnwick
