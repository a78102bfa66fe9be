// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

namespace Tarnwick {

/// A child of this process whose end stops before it is one, even after SIGKILL: a tracer that
/// asked to see it (PTRACE_O_TRACEEXIT, ptrace(2)) has to let it go on. It goes on with this
/// object's end. For one thread, the one that made the object.
class TracedProcess
{
public:
    explicit TracedProcess(pid_t pid);
    ~TracedProcess();
    TracedProcess(const TracedProcess &) = delete;
    TracedProcess &operator=(const TracedProcess &) = delete;

    /// Whether the process may be traced.
    [[nodiscard]] explicit operator bool() const { return m_isTraced; }

private:
    pid_t m_pid;
    bool m_isTraced;
};

} // namespace Tarnwick
