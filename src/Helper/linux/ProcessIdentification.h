// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessIdentity.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessDescriptor.h"

#include <optional>

namespace Tarnwick {

/// Makes the identities of processes.
class ProcessIdentification
{
public:
    ProcessIdentification() = delete;

    enum class Means {
        Pidfs,    ///< where the kernel has it, and else
        StartTick ///< the tick of the clock in which the process started
    };

    /// The process whose directory of /proc is open as @p directory; nothing when it has ended. An
    /// open directory never refers to another process with the same identifier. @p found, if not
    /// null, becomes what was read of it.
    [[nodiscard]] static std::optional<ProcessIdentity>
    of(int directory, pid_t pid, ProcFs::Numbering numbering = ProcFs::Numbering::Own,
       Means means = Means::Pidfs, ProcFs::Stat *found = nullptr);

    /// The process behind @p process, whose identifier is @p pid; nothing when it has ended, or,
    /// with the reason in errno, when it could not be read.
    [[nodiscard]] static std::optional<ProcessIdentity>
    of(int root, const ProcessDescriptor &process, pid_t pid);

    /// Notes that the process of @p identity lives now, as the caller has seen since
    /// @p ticksBefore was taken from ticks().
    static void confirm(ProcessIdentity &identity, std::uint64_t ticksBefore);

    /// The time since boot in the unit of ProcessIdentity::startTicks.
    [[nodiscard]] static std::uint64_t ticks();
};

} // namespace Tarnwick
