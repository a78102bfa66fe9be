// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ReplyQueue.h"

#include <cstring>
#include <utility>
#include <variant>

namespace Tarnwick {

ReplyQueue::ReplyQueue(SystemdEventLoop &loop, BusClients &clients)
    : m_loop(loop)
    , m_clients(clients)
{
}

void ReplyQueue::answer(const BusMessage &request, const KillAnswer &answer)
{
    if (const auto *error = std::get_if<KillError>(&answer)) {
        answerWithError(request, error->code, error->message);
        return;
    }
    const auto code = static_cast<std::int32_t>(std::get<KillResultCode>(answer));
    add(request, [request, code] { return sd_bus_reply_method_return(request.get(), "i", code); });
}

void ReplyQueue::answerWithError(const BusMessage &request, int code, const std::string &message)
{
    const char *known = ::strerrorname_np(code);
    const std::string name = std::string("System.Error.") + (known != nullptr ? known : "EIO");
    add(request, [request, name, message] {
        const sd_bus_error error = {name.c_str(), message.c_str(), 0};
        return sd_bus_reply_method_error(request.get(), &error);
    });
}

void ReplyQueue::add(const BusMessage &request, std::function<int()> send)
{
    m_replies.push_back({sd_bus_message_get_sender(request.get()), std::move(send)});
    if (!m_retry) {
        sendAll();
    }
}

void ReplyQueue::sendAll()
{
    m_retry.reset();
    while (!m_replies.empty()) {
        const Reply &next = m_replies.front();
        if (m_clients.contains(next.client)) {
            if (next.send() < 0) {
                m_retry = m_loop.at(EventLoop::Clock::now() + retryDelay, [this] { sendAll(); });
                return;
            }
            m_clients.answered(next.client);
        }
        m_replies.pop_front();
    }
}

} // namespace Tarnwick
