// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/LastingLink.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::chrono::milliseconds shortestPause{100};
/// A second start must not find the bus long before us: it would become a second application.
constexpr std::chrono::milliseconds longestPause{5000};

} // namespace

LastingLink::LastingLink(QString name, Handlers handlers)
    : m_name(std::move(name))
    , m_handlers(std::move(handlers))
    , m_pause(shortestPause)
{
    m_retry.setSingleShot(true);
    m_retry.callOnTimeout(this, &LastingLink::open);
    open();
}

LastingLink::~LastingLink()
{
    if (m_link) {
        m_link->stopObserving(); // calls in flight may keep it
    }
}

void LastingLink::open()
{
    BusLink::open([self = QPointer(this)](std::shared_ptr<BusLink> link, const QString &) {
        if (self) {
            self->opened(std::move(link));
        }
    });
}

void LastingLink::opened(std::shared_ptr<BusLink> link)
{
    if (!link) {
        lose();
        return;
    }
    m_link = std::move(link);
    m_pause = shortestPause;
    m_isLossTold = false;
    m_link->observe(
        m_name,
        {.ownerChanged = [this](const QString &, const QString &) { m_handlers.ownerChanged(); },
         .ended = [this] { ended(); },
         .signalled = [this](const QDBusMessage &) { m_handlers.signalled(); }});
    // It may have ended before it was observed: then nobody tells.
    if (m_link->connection().isConnected()) {
        m_handlers.joined(m_link);
    } else {
        ended();
    }
}

void LastingLink::ended()
{
    m_link->stopObserving();
    m_link.reset();
    lose();
}

void LastingLink::lose()
{
    m_retry.start(m_pause);
    m_pause = std::min(2 * m_pause, longestPause);
    if (!std::exchange(m_isLossTold, true)) {
        m_handlers.lost();
    }
}

} // namespace Tarnwick
