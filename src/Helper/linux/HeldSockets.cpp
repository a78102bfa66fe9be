// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HeldSockets.h"

#include "Helper/linux/ProcFs.h"

#include <cerrno>
#include <unordered_set>
#include <vector>

namespace Tarnwick {

std::variant<bool, int> HeldSockets::any(int root, pid_t pid,
                                         std::span<const ListeningSocket> sockets)
{
    std::unordered_set<std::uint32_t> inodes;
    for (const ListeningSocket &socket : sockets) {
        inodes.insert(socket.inode);
    }
    errno = 0;
    const FileDescriptor directory = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
    std::vector<ProcFs::NumberedEntry> entries;
    if (!directory || !ProcFs::readNumbers(directory.get(), entries)) {
        return errno;
    }
    for (const ProcFs::NumberedEntry &entry : entries) {
        errno = 0;
        const ProcFs::Descriptor seen = ProcFs::descriptor(directory.get(), entry.number);
        const bool isClosed = errno == ENOENT;
        if (seen.kind == ProcFs::Descriptor::Kind::Socket && inodes.contains(seen.inode)) {
            return true;
        }
        if ((seen.kind == ProcFs::Descriptor::Kind::None && !isClosed) ||
            seen.kind == ProcFs::Descriptor::Kind::Denied) {
            return errno;
        }
    }
    return false;
}

} // namespace Tarnwick
