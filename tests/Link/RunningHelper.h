// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "Shared/HelperProtocol.h"
#include "tests/Link/BusCaller.h"
#include "tests/Support/PrivateBus.h"

#include <csignal>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace Tarnwick {

/// The helper that somebody else started on a bus of the test's own. It is killed with this object,
/// so that a test which stops it leaves nothing behind.
class RunningHelper
{
public:
    /// Throws std::runtime_error when there is none.
    explicit RunningHelper(const PrivateBus &bus)
        : m_pid(BusCaller(bus.address()).process(std::string(HelperProtocol::serviceName)))
    {
        if (m_pid > 1) {
            m_process = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
        }
        if (!m_process) {
            throw std::runtime_error("no helper is on the bus");
        }
    }
    ~RunningHelper() { signal(SIGKILL); }
    RunningHelper(const RunningHelper &) = delete;
    RunningHelper &operator=(const RunningHelper &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    void signal(int number) const
    {
        ::syscall(SYS_pidfd_send_signal, m_process.get(), number, nullptr, 0);
    }
    [[nodiscard]] bool hasEnded() const
    {
        pollfd waiting = {.fd = m_process.get(), .events = POLLIN, .revents = 0};
        return ::poll(&waiting, 1, 0) > 0;
    }

private:
    pid_t m_pid;
    FileDescriptor m_process;
};

} // namespace Tarnwick
