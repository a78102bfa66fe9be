// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessTerminator.h"
#include "Helper/linux/BusClients.h"
#include "Helper/linux/BusHandles.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// Sends short replies in their order. One that the system does not take, for want of memory or
/// room in a buffer, is made and sent again until it is taken or its client has left the bus: a
/// kill is carried out once, and so is its answer not to be had again. A request counts as answered
/// when its reply was taken. Where that takes too long, or too many replies wait, std::system_error
/// is thrown: the helper's end answers all requests.
class ReplyQueue
{
public:
    ReplyQueue(SystemdEventLoop &loop, BusClients &clients);

    void answer(const BusMessage &request, const KillAnswer &answer);

    /// Answers with an error of the system, "System.Error.ENOMEM" for ENOMEM. Its name is never one
    /// of the bus's own, which would tell the client that the connection is broken.
    void answerWithError(const BusMessage &request, int code, const std::string &message);

    /// Answers whom the helper does not serve.
    void deny(const BusMessage &request, const std::string &message);

    /// Answers a request that was not admitted, with EBUSY.
    void refuse(const BusMessage &request, const std::string &message);

    static constexpr std::chrono::milliseconds retryDelay{20};
    /// How long sending may fail for other reasons than a full buffer.
    static constexpr std::chrono::seconds maxShortage{5};
    static constexpr std::size_t maxWaiting = 16'384;

    /// Whether @p failure, a negative errno, says that a buffer is full, which the bus or the
    /// system empties.
    [[nodiscard]] static bool isBufferFull(int failure);

private:
    /// Whether the request was admitted, and so counts as unanswered (BusClients::admit()).
    enum class Counted : std::uint8_t { No, Yes };
    struct Reply
    {
        BusMessage request;
        std::function<int()> send; ///< negative errno on failure, as sd-bus(3) has it
        Counted counted;
    };

    void add(const BusMessage &request, std::function<int()> send, Counted counted = Counted::Yes);
    void addError(const BusMessage &request, const std::string &name, const std::string &message,
                  Counted counted);
    void sendAll();
    void retryLater(int failure);

    SystemdEventLoop &m_loop;
    BusClients &m_clients;
    std::deque<Reply> m_replies;
    std::unique_ptr<EventLoop::Wait> m_retry;
    std::optional<EventLoop::Clock::time_point> m_failingSince; ///< not for a full buffer
};

} // namespace Tarnwick
