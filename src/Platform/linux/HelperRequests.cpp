// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperRequests.h"

#include "Platform/linux/HelperCall.h"
#include "Shared/AppLog.h"

#include <QTimer>

#include <utility>

namespace Tarnwick {

void HelperRequests::list(HelperProxy::ListReply listed, HelperConnection::ErrorHandler lost)
{
    const std::shared_ptr<QTimer> alarm = startAlarm();
    const auto reply = [self = shared_from_this(), alarm, listed = std::move(listed)](
                           std::optional<QByteArray> payload, std::optional<HelperError> error) {
        alarm->stop();
        self->m_isOverdue = false;
        listed(std::move(payload), std::move(error));
    };
    const auto failed = [alarm, lost = std::move(lost)](const std::string &why) {
        alarm->stop();
        lost(why);
    };
    add([self = shared_from_this(), reply, failed](const std::optional<Peer> &to,
                                                   const std::string &why) {
        if (to) {
            self->sendList(*to, reply, failed);
        } else {
            failed(why);
        }
    });
}

void HelperRequests::kill(Kill kill)
{
    add([self = shared_from_this(), kill = std::move(kill)](const std::optional<Peer> &to,
                                                            const std::string &why) {
        if (to) {
            self->sendKill(*to, kill);
        } else {
            kill.failed(why);
        }
    });
}

void HelperRequests::sendTo(Peer found)
{
    m_peer = std::move(found);
    sendWaiting();
}

void HelperRequests::refuse(std::string why)
{
    m_peer.reset();
    m_refusal = std::move(why);
    sendWaiting();
}

std::shared_ptr<QTimer> HelperRequests::startAlarm()
{
    auto alarm = std::make_shared<QTimer>();
    alarm->setSingleShot(true);
    alarm->callOnTimeout([weak = weak_from_this()] {
        const std::shared_ptr<HelperRequests> self = weak.lock();
        if (self && !std::exchange(self->m_isOverdue, true)) {
            AppLog::log("[helper] a listing has not been answered for " +
                        std::to_string(overdueAfter.count()) + " s");
        }
    });
    alarm->start(overdueAfter);
    return alarm;
}

void HelperRequests::add(Request request)
{
    if (m_peer || m_refusal) {
        request(m_peer, m_refusal.value_or(std::string()));
    } else {
        m_waiting.push_back(std::move(request));
    }
}

void HelperRequests::sendWaiting()
{
    for (const Request &request : std::exchange(m_waiting, {})) {
        request(m_peer, m_refusal.value_or(std::string()));
    }
}

void HelperRequests::sendList(const Peer &to, HelperProxy::ListReply reply,
                              HelperConnection::ErrorHandler failed)
{
    const auto listed = [self = shared_from_this(), reply = std::move(reply)](
                            std::optional<QByteArray> payload, std::optional<HelperError> error) {
        self->m_hasListed = self->m_hasListed || !error;
        reply(std::move(payload), std::move(error));
    };
    HelperCall::listListeningPorts(to.link, to.owner, listed, std::move(failed));
}

void HelperRequests::sendKill(const Peer &to, const Kill &kill)
{
    if (m_hasListed) {
        HelperCall::killProcess(to.link, to.owner, kill.pid, kill.reply, kill.failed);
        return;
    }
    m_kills.push_back(kill);
    if (m_kills.size() == 1) {
        listForKills(to);
    }
}

void HelperRequests::listForKills(const Peer &to)
{
    // What the listing holds is of no use here.
    const auto listed = [self = shared_from_this(), to](const std::optional<QByteArray> &,
                                                        const std::optional<HelperError> &error) {
        for (const Kill &each : std::exchange(self->m_kills, {})) {
            if (error) {
                each.reply(0, error);
            } else {
                self->sendKill(to, each);
            }
        }
    };
    const auto failed = [self = shared_from_this()](const std::string &why) {
        for (const Kill &each : std::exchange(self->m_kills, {})) {
            each.failed(why);
        }
    };
    sendList(to, listed, failed);
}

} // namespace Tarnwick
