// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/HelperService.h"
#include "Helper/linux/BusClients.h"
#include "Helper/linux/BusHandles.h"
#include "Helper/linux/ReplyQueue.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <deque>
#include <memory>

namespace Tarnwick {

/// Sends the payloads of listings as fast as the bus takes them: one is put into a message when the
/// one before it is on its way, and it is the latest that there is, so that a flood of requests
/// never holds more than two copies of a large listing. Clients that have left are passed over.
/// What each client got is noted, for what it means by its requests.
class PayloadQueue
{
public:
    PayloadQueue(sd_bus *bus, SystemdEventLoop &loop, BusClients &clients, ReplyQueue &replies);

    void answer(const BusMessage &request, const HelperService::ListAnswer &answer);

private:
    void send();
    [[nodiscard]] int sendLatest(const BusMessage &request);

    sd_bus *m_bus;
    SystemdEventLoop &m_loop;
    BusClients &m_clients;
    ReplyQueue &m_replies;
    std::deque<BusMessage> m_waiting;
    HelperService::Payload m_latest; ///< for all that wait
    std::unique_ptr<EventLoop::Wait> m_sending;
    std::unique_ptr<EventLoop::Wait> m_retry;
};

} // namespace Tarnwick
