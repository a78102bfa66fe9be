// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/TracedProcess.h"

#include <csignal>

#include <sys/ptrace.h>
#include <sys/wait.h>

namespace Tarnwick {

TracedProcess::TracedProcess(pid_t pid)
    : m_pid(pid)
    , m_isTraced(::ptrace(PTRACE_SEIZE, pid, nullptr, PTRACE_O_TRACEEXIT) == 0)
{
}

TracedProcess::~TracedProcess()
{
    // A process can be let go where it stops only: here on its way to its end.
    if (m_isTraced && ::kill(m_pid, SIGKILL) == 0 && ::waitpid(m_pid, nullptr, __WALL) == m_pid) {
        ::ptrace(PTRACE_DETACH, m_pid, nullptr, nullptr);
    }
}

} // namespace Tarnwick
