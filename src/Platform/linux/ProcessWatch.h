// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <functional>
#include <memory>

#include <sys/types.h>

class QSocketNotifier;

namespace Tarnwick {

/// Waits for the end of another process, through a descriptor that stands for it and for no other
/// one that gets its identifier later (pidfd_open(2)). Main thread.
class ProcessWatch
{
public:
    using Ended = std::function<void()>;

    /// Null when there is no such process, or no descriptor of it to be had.
    [[nodiscard]] static std::unique_ptr<ProcessWatch> open(pid_t pid);

    /// For open().
    explicit ProcessWatch(FileDescriptor process);
    ~ProcessWatch();
    ProcessWatch(const ProcessWatch &) = delete;
    ProcessWatch &operator=(const ProcessWatch &) = delete;

    /// Calls @p ended once, from the event loop, when the process has ended, or had before. It may
    /// destroy this object, after which it is not called. Call it once.
    void start(Ended ended);

private:
    void report();

    FileDescriptor m_process;
    Ended m_ended;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace Tarnwick
