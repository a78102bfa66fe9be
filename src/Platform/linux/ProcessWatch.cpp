// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/ProcessWatch.h"

#include <QSocketNotifier>

#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

std::unique_ptr<ProcessWatch> ProcessWatch::open(pid_t pid)
{
    FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    return process ? std::make_unique<ProcessWatch>(std::move(process)) : nullptr;
}

ProcessWatch::ProcessWatch(FileDescriptor process)
    : m_process(std::move(process))
{
}

ProcessWatch::~ProcessWatch() = default;

void ProcessWatch::start(Ended ended)
{
    m_ended = std::move(ended);
    m_notifier = std::make_unique<QSocketNotifier>(m_process.get(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { report(); });
}

void ProcessWatch::report()
{
    // It is the notifier that calls.
    m_notifier->setEnabled(false);
    m_notifier.release()->deleteLater();
    const Ended ended = std::move(m_ended);
    ended();
}

} // namespace Tarnwick
