// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessDescriptor.h"

#include <cerrno>

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace Tarnwick {

ProcessDescriptor ProcessDescriptor::open(pid_t pid)
{
    return ProcessDescriptor(FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))));
}

bool ProcessDescriptor::hasEnded(const FileDescriptor &descriptor)
{
    pollfd waiting = {.fd = descriptor.get(), .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, 0) > 0;
}

std::optional<std::uint64_t> ProcessDescriptor::inode() const
{
    // PID_FS_MAGIC of the kernel's linux/magic.h, which older headers lack.
    constexpr auto pidfsMagic = 0x50494446;
    if constexpr (sizeof(void *) < sizeof(std::uint64_t)) {
        return 0;
    }
    struct statfs system = {};
    if (::fstatfs(m_descriptor.get(), &system) != 0) {
        return std::nullopt;
    }
    if (system.f_type != pidfsMagic) {
        return 0;
    }
    struct stat status = {};
    return ::fstat(m_descriptor.get(), &status) == 0 ? std::optional(status.st_ino) : std::nullopt;
}

int ProcessDescriptor::sendSignal(int signal) const
{
    const int sent =
        static_cast<int>(::syscall(SYS_pidfd_send_signal, m_descriptor.get(), signal, nullptr, 0));
    return sent == 0 ? 0 : errno;
}

} // namespace Tarnwick
