// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessIdentification.h"

#include <ctime>
#include <unistd.h>

namespace Tarnwick {

bool isSameProcess(const ProcessIdentity &earlier, const ProcessIdentity &later)
{
    if (earlier.pid != later.pid) {
        return false;
    }
    if (earlier.inode != 0 && later.inode != 0) {
        return earlier.inode == later.inode;
    }
    if (earlier.startTicks != later.startTicks) {
        return false;
    }
    return earlier.outlivedStartTick ||
           (earlier.descriptor && !ProcessDescriptor::hasEnded(*earlier.descriptor));
}

std::uint64_t ProcessIdentification::ticks()
{
    // As the kernel makes a start time of CLOCK_BOOTTIME: rounded down.
    constexpr std::uint64_t nanoseconds = 1'000'000'000;
    static const auto perSecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    timespec now = {};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * perSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / (nanoseconds / perSecond);
}

void ProcessIdentification::confirm(ProcessIdentity &identity, std::uint64_t ticksBefore)
{
    if (ticksBefore > identity.startTicks) {
        identity.outlivedStartTick = true;
        identity.descriptor.reset();
    }
}

std::optional<ProcessIdentity> ProcessIdentification::of(int directory, pid_t pid,
                                                         ProcFs::Numbering numbering, Means means,
                                                         ProcFs::Stat *found)
{
    const std::uint64_t now = ticks();
    // While the directory is of a living process, its identifier is that one's: so is what is
    // opened by the identifier before the directory is read.
    ProcessDescriptor process;
    if (numbering == ProcFs::Numbering::Own) {
        process = ProcessDescriptor::open(pid);
    }
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(directory);
    if (!stat) {
        return std::nullopt;
    }
    if (found != nullptr) {
        *found = *stat;
    }
    ProcessIdentity identity{.pid = pid, .startTicks = stat->startTicks};
    identity.inode = means == Means::Pidfs ? process.inode().value_or(0) : 0;
    confirm(identity, now);
    if (identity.inode == 0 && !identity.outlivedStartTick && process) {
        identity.descriptor = std::make_shared<const FileDescriptor>(process.release());
    }
    return identity;
}

std::optional<ProcessIdentity> ProcessIdentification::of(int root, const ProcessDescriptor &process,
                                                         pid_t pid)
{
    const std::uint64_t now = ticks();
    const std::optional<std::uint64_t> inode = process.inode();
    if (!inode) {
        return std::nullopt;
    }
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(root, pid);
    if (!stat || process.hasEnded()) {
        return std::nullopt;
    }
    ProcessIdentity identity{.pid = pid, .startTicks = stat->startTicks, .inode = *inode};
    confirm(identity, now);
    return identity;
}

} // namespace Tarnwick
