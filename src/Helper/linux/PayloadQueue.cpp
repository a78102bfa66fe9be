// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/PayloadQueue.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

int replyWithBytes(sd_bus *bus, sd_bus_message *request, const std::string &bytes)
{
    sd_bus_message *made = nullptr;
    if (const int failed = sd_bus_message_new_method_return(request, &made); failed < 0) {
        return failed;
    }
    const BusMessage reply = take(made);
    const int appended = sd_bus_message_append_array(made, 'y', bytes.data(), bytes.size());
    return appended < 0 ? appended : sd_bus_send(bus, made, nullptr);
}

} // namespace

PayloadQueue::PayloadQueue(sd_bus *bus, SystemdEventLoop &loop, BusClients &clients,
                           ReplyQueue &replies)
    : m_bus(bus)
    , m_loop(loop)
    , m_clients(clients)
    , m_replies(replies)
    // Later than answer(), so that all whom one listing answers take turns, and in a round of its
    // own: what follows a round is to follow this, too.
    , m_sending(loop.afterEachRound([this] {
        if (canSend()) {
            sendLater(EventLoop::Clock::duration::zero());
        }
    }))
{
}

void PayloadQueue::answer(const BusMessage &request, const HelperService::ListAnswer &answer)
{
    if (const auto *error = std::get_if<ListingError>(&answer)) {
        m_replies.answerWithError(request, error->code, error->message);
        return;
    }
    const std::string client = sd_bus_message_get_sender(request.get());
    std::deque<BusMessage> &waiting = m_waiting[client];
    waiting.push_back(request);
    if (waiting.size() == 1) {
        m_turns.push_back(client);
    }
    m_latest = std::get<HelperService::Payload>(answer);
}

void PayloadQueue::send()
{
    while (canSend()) {
        const std::string &client = m_turns.front();
        if (!m_clients.contains(client)) {
            m_waiting.erase(client);
            m_turns.pop_front();
            continue;
        }
        const int sent = sendLatest(m_waiting.at(client).front());
        if (isToBeRetried(sent)) {
            sendLater(ReplyQueue::retryDelay);
            break;
        }
        const BusMessage request = takeNext();
        if (sent < 0) {
            m_replies.answerWithError(request, -sent, std::strerror(-sent));
        } else {
            m_clients.answered(request.get());
        }
    }
    if (m_turns.empty()) {
        m_latest.reset();
    }
}

void PayloadQueue::sendLater(EventLoop::Clock::duration delay)
{
    m_retry = m_loop.at(EventLoop::Clock::now() + delay, [this] {
        m_retry.reset();
        send();
    });
}

/// Whether a payload waits and the one before it is on its way.
bool PayloadQueue::canSend() const
{
    std::uint64_t unsent = 0;
    return !m_turns.empty() && !m_retry && sd_bus_get_n_queued_write(m_bus, &unsent) >= 0 &&
           unsent == 0;
}

/// The request whose turn it is, which waits no more; its client's next one has its turn after
/// those of the other clients.
BusMessage PayloadQueue::takeNext()
{
    std::string client = std::move(m_turns.front());
    m_turns.pop_front();
    const auto place = m_waiting.find(client);
    BusMessage request = place->second.front();
    place->second.pop_front();
    if (place->second.empty()) {
        m_waiting.erase(place);
    } else {
        m_turns.push_back(std::move(client));
    }
    return request;
}

bool PayloadQueue::isToBeRetried(int sent)
{
    if (sent != -ENOMEM) {
        m_shortSince.reset();
        return ReplyQueue::isBufferFull(sent);
    }
    const auto now = EventLoop::Clock::now();
    m_shortSince = m_shortSince.value_or(now);
    return now - *m_shortSince < maxShortage;
}

/// Sends the latest payload to whoever made the request; a negative errno on failure.
int PayloadQueue::sendLatest(const BusMessage &request)
{
    const std::string client = sd_bus_message_get_sender(request.get());
    std::optional<ListingPayload::Reduced> reduced;
    try {
        reduced = m_latest->after(m_clients.shown(client).get());
    } catch (const std::bad_alloc &) {
        return -ENOMEM;
    }
    const int sent =
        replyWithBytes(m_bus, request.get(), reduced ? reduced->bytes : m_latest->bytes());
    if (sent >= 0) {
        m_clients.show(client, reduced ? reduced->report : m_latest->report());
    }
    return sent;
}

} // namespace Tarnwick
