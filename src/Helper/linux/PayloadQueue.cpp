// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/PayloadQueue.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace Tarnwick {

namespace {

/// An array in a message of D-Bus (its specification, "Valid Signatures").
constexpr std::size_t maxPayloadSize = 64UL * 1024 * 1024;

/// Whether the system may take the same reply a little later.
bool isShortage(int failure)
{
    return failure == -ENOBUFS || failure == -ENOMEM || failure == -EAGAIN || failure == -EINTR;
}

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
{
}

void PayloadQueue::answer(const BusMessage &request, const HelperService::ListAnswer &answer)
{
    if (const auto *error = std::get_if<ListingError>(&answer)) {
        m_replies.answerWithError(request, error->code, error->message);
        return;
    }
    const HelperService::Payload &payload = std::get<HelperService::Payload>(answer);
    if (payload->bytes().size() > maxPayloadSize) {
        // The bus would end the connection of who sends it.
        m_replies.answerWithError(request, EMSGSIZE, "the listing is larger than the bus takes");
        return;
    }
    m_waiting.push_back(request);
    m_latest = payload;
    send();
}

void PayloadQueue::send()
{
    std::uint64_t unsent = 0;
    while (!m_waiting.empty() && !m_retry && sd_bus_get_n_queued_write(m_bus, &unsent) >= 0 &&
           unsent == 0) {
        const BusMessage request = m_waiting.front();
        const int sent = sendLatest(request);
        if (isShortage(sent)) {
            m_retry = m_loop.at(EventLoop::Clock::now() + ReplyQueue::retryDelay, [this] {
                m_retry.reset();
                send();
            });
            break;
        }
        m_waiting.pop_front();
        if (sent < 0) {
            m_replies.answerWithError(request, -sent, std::strerror(-sent));
        }
    }
    if (m_waiting.empty()) {
        m_sending.reset();
        m_latest.reset();
    } else if (!m_sending) {
        m_sending = m_loop.afterEachRound([this] { send(); });
    }
}

/// Sends the latest payload to whoever made the request, if it is still there; a negative errno on
/// failure.
int PayloadQueue::sendLatest(const BusMessage &request)
{
    const std::string client = sd_bus_message_get_sender(request.get());
    if (!m_clients.contains(client)) {
        return 0;
    }
    const std::optional<ListingPayload::Reduced> reduced =
        m_latest->after(m_clients.shown(client).get());
    const int sent =
        replyWithBytes(m_bus, request.get(), reduced ? reduced->bytes : m_latest->bytes());
    if (sent >= 0) {
        m_clients.show(client, reduced ? reduced->report : m_latest->report());
        m_clients.answered(client);
    }
    return sent;
}

} // namespace Tarnwick
