// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HeldSockets.h"

#include "Helper/linux/ProcFs.h"

#include <cerrno>
#include <unordered_set>
#include <vector>

namespace Tarnwick {

namespace {

/// More than a process may have where root has not raised the limit for all (fs.nr_open, proc(5))
/// to twice its default.
constexpr std::uint64_t maxEntries = 2UL * 1024 * 1024;

bool isGone(int code)
{
    return code == ENOENT || code == ESRCH;
}

} // namespace

std::variant<bool, int>
HeldSockets::any(int root, pid_t pid, std::span<const ListeningSocket> sockets, Deadline deadline)
{
    std::unordered_set<std::uint32_t> inodes;
    for (const ListeningSocket &socket : sockets) {
        inodes.insert(socket.inode);
    }
    errno = 0;
    const FileDescriptor directory = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
    if (!directory) {
        return errno;
    }
    bool isHeld = false;
    const Look look = each(directory.get(), deadline, [&](std::uint32_t inode) {
        isHeld = inodes.contains(inode);
        return !isHeld;
    });
    if (look.code != 0) {
        return look.code;
    }
    return isHeld;
}

HeldSockets::Look HeldSockets::each(int descriptors, Deadline deadline, const Take &take)
{
    constexpr std::size_t betweenClockReads = 256;
    Look look;
    if (std::chrono::steady_clock::now() >= deadline) {
        look.code = ETIME;
        return look;
    }
    std::vector<ProcFs::NumberedEntry> entries;
    errno = 0;
    if (!ProcFs::readNumbers(descriptors, entries, maxEntries)) {
        look.code = isGone(errno) ? 0 : errno;
        return look;
    }
    look.descriptors = entries.size();
    for (std::size_t at = 0; at < entries.size(); ++at) {
        if (at % betweenClockReads == 0 && std::chrono::steady_clock::now() >= deadline) {
            look.code = ETIME;
            return look;
        }
        errno = 0;
        const ProcFs::Descriptor seen = ProcFs::descriptor(descriptors, entries[at].number);
        if (seen.kind == ProcFs::Descriptor::Kind::Socket) {
            if (!take(seen.inode)) {
                return look;
            }
        } else if (seen.kind != ProcFs::Descriptor::Kind::Other && !isGone(errno)) {
            look.code = errno != 0 ? errno : EIO;
            return look;
        }
    }
    look.code = entries.size() >= maxEntries ? ETIME : 0;
    return look;
}

} // namespace Tarnwick
