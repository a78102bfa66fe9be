// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ReplyQueue.h"

#include <cerrno>
#include <cstring>
#include <system_error>
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
    addError(request, std::string("System.Error.") + (known != nullptr ? known : "EIO"), message,
             Counted::Yes);
}

void ReplyQueue::deny(const BusMessage &request, const std::string &message)
{
    addError(request, SD_BUS_ERROR_ACCESS_DENIED, message, Counted::Yes);
}

void ReplyQueue::refuse(const BusMessage &request, const std::string &message)
{
    // An answer of ours: who gets an error of the bus waits on.
    addError(request, "System.Error.EBUSY", message, Counted::No);
}

void ReplyQueue::addError(const BusMessage &request, const std::string &name,
                          const std::string &message, Counted counted)
{
    add(
        request,
        [request, name, message] {
            const sd_bus_error error = {name.c_str(), message.c_str(), 0};
            return sd_bus_reply_method_error(request.get(), &error);
        },
        counted);
}

void ReplyQueue::add(const BusMessage &request, std::function<int()> send, Counted counted)
{
    if (m_replies.size() >= maxWaiting) {
        throw std::system_error(ENOBUFS, std::generic_category(), "too many answers wait");
    }
    m_replies.push_back({request, std::move(send), counted});
    if (!m_retry) {
        sendAll();
    }
}

void ReplyQueue::sendAll()
{
    m_retry.reset();
    while (!m_replies.empty()) {
        const Reply &next = m_replies.front();
        if (m_clients.contains(sd_bus_message_get_sender(next.request.get()))) {
            if (const int sent = next.send(); sent < 0) {
                retryLater(sent);
                return;
            }
            if (next.counted == Counted::Yes) {
                m_clients.answered(next.request.get());
            }
        }
        m_failingSince.reset();
        m_replies.pop_front();
    }
}

void ReplyQueue::retryLater(int failure)
{
    const auto now = EventLoop::Clock::now();
    if (!isBufferFull(failure)) {
        if (!m_failingSince) {
            m_failingSince = now;
        } else if (now - *m_failingSince > maxShortage) {
            throw std::system_error(-failure, std::generic_category(), "cannot send an answer");
        }
    }
    m_retry = m_loop.at(now + retryDelay, [this] { sendAll(); });
}

bool ReplyQueue::isBufferFull(int failure)
{
    return failure == -ENOBUFS || failure == -EAGAIN || failure == -EINTR;
}

} // namespace Tarnwick
