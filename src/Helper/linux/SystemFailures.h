// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

namespace Tarnwick {

/// The system calls of this process that failed because the system, or this process, was short of
/// something for a moment: nothing can be concluded from them about what was asked. Any thread.
class SystemFailures
{
public:
    SystemFailures() = delete;

    struct Failure
    {
        const char *call = nullptr; ///< the system call's name, a literal
        int code = 0;               ///< errno

        friend bool operator==(const Failure &, const Failure &) = default;
    };

    /// Whether errno @p code tells of such a shortage: EMFILE, ENFILE, ENOMEM, ENOBUFS, EINTR, EIO.
    [[nodiscard]] static bool isTransient(int code);

    /// Notes that @p call, a literal, failed with errno @p code, if that is transient. Leaves errno
    /// as it is.
    static void note(const char *call, int code);

    /// The same for one that was made again: only take() tells of it.
    static void noteRepeated(const char *call, int code);

    /// How many were noted since the process began.
    [[nodiscard]] static std::uint64_t count();

    /// Those noted since the previous call of this function, each kind once.
    [[nodiscard]] static std::vector<Failure> take();
};

} // namespace Tarnwick
