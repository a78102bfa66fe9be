// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusOutput.h"

#include <utility>

#include <linux/sockios.h>
#include <sys/ioctl.h>

namespace Tarnwick {

BusOutput::BusOutput(sd_bus *bus, SystemdEventLoop &loop, EventLoop::Task onStopped)
    : m_bus(bus)
    , m_loop(loop)
    , m_onStopped(std::move(onStopped))
    , m_rounds(loop.afterEachRound([this] { update(); }))
{
}

BusOutput::Unread BusOutput::unread() const
{
    Unread now;
    static_cast<void>(sd_bus_get_n_queued_write(m_bus, &now.queued));
    // Stays 0 where the kernel does not support it: then the queue alone decides.
    static_cast<void>(::ioctl(sd_bus_get_fd(m_bus), SIOCOUTQ, &now.inSocket));
    return now;
}

void BusOutput::update()
{
    const Unread now = unread();
    const bool isEmpty = now.queued == 0 && now.inSocket == 0;
    if (isEmpty || now.queued < m_last.queued || now.inSocket < m_last.inSocket) {
        m_checks = 0;
    }
    m_last = now;
    if (!isEmpty && !m_timer) {
        checkLater();
    }
}

void BusOutput::checkLater()
{
    m_timer = m_loop.at(EventLoop::Clock::now() + checkInterval, [this] { check(); });
}

void BusOutput::check()
{
    m_timer.reset();
    ++m_checks;
    update();
    if (m_checks >= maxChecks) {
        m_timer.reset();
        m_onStopped();
    }
}

} // namespace Tarnwick
