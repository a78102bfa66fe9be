// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessTerminator.h"
#include "Helper/linux/BusClients.h"
#include "Helper/linux/BusHandles.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace Tarnwick {

/// Sends short replies in their order. One that the system does not take, for want of memory or
/// room in a buffer, is made and sent again until it is taken or its client has left the bus: a
/// kill is carried out once, and so is its answer not to be had again. A request counts as answered
/// when its reply was taken.
class ReplyQueue
{
public:
    ReplyQueue(SystemdEventLoop &loop, BusClients &clients);

    void answer(const BusMessage &request, const KillAnswer &answer);

    /// Answers with an error of the system, "System.Error.ENOMEM" for ENOMEM. Its name is never one
    /// of the bus's own, which would tell the client that the connection is broken.
    void answerWithError(const BusMessage &request, int code, const std::string &message);

    static constexpr std::chrono::milliseconds retryDelay{20};

private:
    struct Reply
    {
        std::string client;
        std::function<int()> send; ///< negative errno on failure, as sd-bus(3) has it
    };

    void add(const BusMessage &request, std::function<int()> send);
    void sendAll();

    SystemdEventLoop &m_loop;
    BusClients &m_clients;
    std::deque<Reply> m_replies;
    std::unique_ptr<EventLoop::Wait> m_retry;
};

} // namespace Tarnwick
