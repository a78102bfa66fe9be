// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/HelperService.h"
#include "Helper/linux/BusClients.h"
#include "Helper/linux/BusHandles.h"
#include "Helper/linux/ReplyQueue.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// Sends the payloads of listings as fast as the bus takes them: one is put into a message when the
/// one before it is on its way, and it is the latest that there is, so that a flood of requests
/// never holds more than two copies of a large listing. Clients take turns, so that none waits for
/// more than one payload of each other one; those that have left are passed over. What each client
/// got is noted, for what it means by its requests. Where the system has no memory for a payload
/// for
/// @ref maxShortage, the request is answered with that error.
class PayloadQueue
{
public:
    PayloadQueue(sd_bus *bus, SystemdEventLoop &loop, BusClients &clients, ReplyQueue &replies);

    void answer(const BusMessage &request, const HelperService::ListAnswer &answer);

    static constexpr std::chrono::seconds maxShortage{1};

private:
    void send();
    void sendLater(EventLoop::Clock::duration delay);
    [[nodiscard]] bool canSend() const;
    [[nodiscard]] int sendLatest(const BusMessage &request);
    [[nodiscard]] bool isToBeRetried(int sent);
    BusMessage takeNext();

    sd_bus *m_bus;
    SystemdEventLoop &m_loop;
    BusClients &m_clients;
    ReplyQueue &m_replies;
    std::map<std::string, std::deque<BusMessage>> m_waiting; ///< by client; none is empty
    std::deque<std::string> m_turns;                         ///< the clients in @ref m_waiting
    HelperService::Payload m_latest;                         ///< for all that wait
    std::unique_ptr<EventLoop::Wait> m_sending;
    std::unique_ptr<EventLoop::Wait> m_retry;
    std::optional<EventLoop::Clock::time_point> m_shortSince; ///< of memory
};

} // namespace Tarnwick
