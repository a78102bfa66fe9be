// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <utility>

#include <sys/types.h>

namespace Tarnwick {

/// A descriptor of pidfd_open(2): stands for one process, whatever becomes of its identifier.
class ProcessDescriptor
{
public:
    ProcessDescriptor() = default;
    explicit ProcessDescriptor(FileDescriptor descriptor)
        : m_descriptor(std::move(descriptor))
    {
    }

    /// None, with the reason in errno, when there is no process with that identifier: ESRCH, or
    /// EINVAL for what is no identifier of a process (0, a negative number, a thread).
    [[nodiscard]] static ProcessDescriptor open(pid_t pid);

    [[nodiscard]] explicit operator bool() const { return static_cast<bool>(m_descriptor); }
    [[nodiscard]] int get() const { return m_descriptor.get(); }
    [[nodiscard]] FileDescriptor release() { return std::move(m_descriptor); }

    /// Whether the process has ended, whether or not its parent has taken notice.
    [[nodiscard]] bool hasEnded() const { return hasEnded(m_descriptor); }
    [[nodiscard]] static bool hasEnded(const FileDescriptor &descriptor);

    /// The inode of the process in pidfs; 0 where the kernel has none (before Linux 6.9), or its
    /// inode numbers are not unique (systems of 32 bits); nothing, with the reason in errno, when
    /// it could not be read.
    [[nodiscard]] std::optional<std::uint64_t> inode() const;

    /// pidfd_send_signal(2): 0, or the errno of the failure. A zombie takes signals, too.
    [[nodiscard]] int sendSignal(int signal) const;

private:
    FileDescriptor m_descriptor;
};

} // namespace Tarnwick
