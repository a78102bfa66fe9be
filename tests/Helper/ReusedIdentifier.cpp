// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/ReusedIdentifier.h"

#include "Shared/FileDescriptor.h"

#include <array>
#include <csignal>
#include <cstdint>

#include <fcntl.h>
#include <linux/sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

ReusedIdentifier::ReusedIdentifier(pid_t pid, bool listens)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    clone_args arguments = {};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
    arguments.set_tid_size = 1;
    const long made = ::syscall(SYS_clone3, &arguments, sizeof(arguments));
    if (made == 0) {
        if (listens) {
            ::listen(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), 1);
        }
        writeEnd.reset();
        for (;;) {
            ::pause();
        }
    }
    m_pid = static_cast<pid_t>(made);
    // The other end of the pipe closes when the process listens.
    writeEnd.reset();
    char nothing = 0;
    static_cast<void>(::read(readEnd.get(), &nothing, 1));
}

ReusedIdentifier::~ReusedIdentifier()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

bool ReusedIdentifier::hasEnded()
{
    siginfo_t information = {};
    return ::waitid(P_PID, static_cast<id_t>(m_pid), &information, WEXITED | WNOHANG | WNOWAIT) ==
               0 &&
           information.si_pid == m_pid;
}

} // namespace Tarnwick
