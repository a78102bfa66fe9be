// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/SessionGuard.h"

#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessRoles.h"
#include "Helper/linux/SessionSockets.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace Tarnwick {

namespace {

using Part = SessionGuard::Part;

/// The process that listens at an address, as far as the kernel knows it: the one that began to
/// listen there. -1 when nobody can be reached.
pid_t listenerAt(const std::string &name)
{
    const FileDescriptor connection(
        ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (!connection || name.empty() || name.size() >= sizeof(address.sun_path)) {
        return -1;
    }
    auto *const path = static_cast<char *>(address.sun_path);
    std::copy(name.begin(), name.end(), path);
    std::size_t size = offsetof(sockaddr_un, sun_path) + name.size() + 1;
    if (name.front() == '@') {
        path[0] = '\0';
        --size;
    }
    ucred peer = {};
    socklen_t sizeOfPeer = sizeof(peer);
    const bool told =
        ::connect(connection.get(), reinterpret_cast<const sockaddr *>(&address),
                  static_cast<socklen_t>(size)) == 0 &&
        ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &sizeOfPeer) == 0;
    return told && peer.pid > 0 ? peer.pid : -1;
}

/// What a process is that has one of the sockets open. A bus or a compositor may have been given
/// its socket by who started it, whom alone the kernel names then.
std::optional<Part> partByDescriptors(int root, pid_t pid,
                                      const std::vector<SessionSockets::Address> &addresses)
{
    constexpr std::size_t longestTable = 64UL * 1024 * 1024;
    std::string table;
    ProcFs::readFile(root, "self/net/unix", table, longestTable);
    const std::map<std::uint32_t, Part> listening = SessionSockets::listening(table, addresses);
    const FileDescriptor descriptors = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
    std::vector<ProcFs::NumberedEntry> entries;
    if (listening.empty() || !descriptors || !ProcFs::readNumbers(descriptors.get(), entries)) {
        return std::nullopt;
    }
    for (const ProcFs::NumberedEntry &entry : entries) {
        const ProcFs::Descriptor seen = ProcFs::descriptor(descriptors.get(), entry.number);
        const auto known = seen.kind == ProcFs::Descriptor::Kind::Socket
                               ? listening.find(seen.inode)
                               : listening.end();
        if (known != listening.end()) {
            return known->second;
        }
    }
    return std::nullopt;
}

/// Whether the process is in the service of a message bus, of a user's or of the system.
bool isInServiceOfBus(int root, pid_t pid)
{
    constexpr std::size_t longest = 64UL * 1024;
    std::string text;
    const FileDescriptor file = ProcFs::openOfProcess(root, pid, "/cgroup");
    if (!file || !ProcFs::readWhole(file.get(), text, longest)) {
        return false;
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

} // namespace

std::optional<SessionGuard::Part> SessionGuard::part(std::int32_t pid)
{
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor process = root ? ProcFs::openProcess(root.get(), pid) : FileDescriptor();
    const std::optional<ProcFs::Stat> stat = process ? ProcFs::stat(process.get()) : std::nullopt;
    if (!stat) {
        return std::nullopt;
    }
    const ProcessRoles::Role role = ProcessRoles(root.get()).role(pid, *stat);
    if (role == ProcessRoles::Role::ServiceManager) {
        return Part::ServiceManager;
    }
    if (role == ProcessRoles::Role::MessageBus && isInServiceOfBus(root.get(), pid)) {
        return Part::MessageBus;
    }
    struct stat status = {};
    ::fstat(process.get(), &status);
    const std::vector<SessionSockets::Address> addresses = SessionSockets::addresses(status.st_uid);
    if (const std::optional<Part> found = partByDescriptors(root.get(), pid, addresses)) {
        return found;
    }
    const auto address =
        std::find_if(addresses.begin(), addresses.end(), [pid](const SessionSockets::Address &one) {
            return listenerAt(one.name) == pid;
        });
    return address != addresses.end() ? std::optional(address->part) : std::nullopt;
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
