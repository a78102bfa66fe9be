// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace Tarnwick {

/// Makes chosen system calls fail, through the user-space notifications of seccomp(2). Affects the
/// thread that constructs it and all threads which that one starts afterwards, until the process
/// ends: a filter cannot be removed. So it belongs into a process of its own (inOwnProcess()).
/// Until fail() is called, and after stop(), every call goes through, at the cost of a few
/// microseconds. Calls of child processes, which inherit the filter, always go through and are not
/// counted.
class FailingCalls
{
public:
    /// Watches the calls that a listing and a termination make on files, sockets and processes.
    FailingCalls();
    /// Watches these calls, SYS_*. Throws std::runtime_error where the kernel has no such
    /// notifications or a container forbids them.
    explicit FailingCalls(std::span<const long> calls);
    ~FailingCalls();
    FailingCalls(const FailingCalls &) = delete;
    FailingCalls &operator=(const FailingCalls &) = delete;

    /// Lets the watched call that comes after @p skipped others fail once with errno @p code.
    void fail(unsigned skipped, int code);
    /// Lets every watched call @p number fail with errno @p code.
    void failEach(long number, int code);
    /// Lets all calls through again. The number of a call that was made to fail since fail() or
    /// failEach(); nothing when none was.
    std::optional<long> stop();

    /// The name of a call that is watched by default, "openat"; its number for others.
    [[nodiscard]] static std::string name(long number);

private:
    struct Supervisor;
    std::shared_ptr<Supervisor> m_supervisor; ///< shared with its thread
};

} // namespace Tarnwick
