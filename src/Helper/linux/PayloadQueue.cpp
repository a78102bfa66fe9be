// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/PayloadQueue.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace Tarnwick {

namespace {

/// An array in a message of D-Bus (its specification, "Valid Signatures").
constexpr std::size_t maxPayloadSize = 64UL * 1024 * 1024;

/// Answers with an error of the system. Its name is never one of the bus's own, which would tell
/// the client that the link is broken, and not the listing.
void replyWithError(sd_bus_message *request, int code, const std::string &message)
{
    const char *name = ::strerrorname_np(code);
    const std::string error = std::string("System.Error.") + (name != nullptr ? name : "EIO");
    const sd_bus_error told = {error.c_str(), message.c_str(), 0};
    static_cast<void>(sd_bus_reply_method_error(request, &told));
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

PayloadQueue::PayloadQueue(sd_bus *bus, SystemdEventLoop &loop, BusClients &clients)
    : m_bus(bus)
    , m_loop(loop)
    , m_clients(clients)
{
}

void PayloadQueue::answer(const BusMessage &request, const HelperService::ListAnswer &answer)
{
    if (const auto *error = std::get_if<ListingError>(&answer)) {
        replyWithError(request.get(), error->code, error->message);
        m_clients.answered(sd_bus_message_get_sender(request.get()));
        return;
    }
    const HelperService::Payload &payload = std::get<HelperService::Payload>(answer);
    if (payload->size() > maxPayloadSize) {
        // The bus would end the connection of who sends it.
        replyWithError(request.get(), EMSGSIZE, "the listing is larger than the bus takes");
        m_clients.answered(sd_bus_message_get_sender(request.get()));
        return;
    }
    m_waiting.push_back(request);
    m_latest = payload;
    send();
}

void PayloadQueue::send()
{
    std::uint64_t unsent = 0;
    while (!m_waiting.empty() && sd_bus_get_n_queued_write(m_bus, &unsent) >= 0 && unsent == 0) {
        const BusMessage request = std::move(m_waiting.front());
        m_waiting.pop_front();
        const std::string client = sd_bus_message_get_sender(request.get());
        if (!m_clients.contains(client)) {
            continue;
        }
        if (const int sent = replyWithBytes(m_bus, request.get(), *m_latest); sent < 0) {
            replyWithError(request.get(), -sent, std::strerror(-sent));
        }
        m_clients.answered(client);
    }
    if (m_waiting.empty()) {
        m_sending.reset();
        m_latest.reset();
    } else if (!m_sending) {
        m_sending = m_loop.afterEachRound([this] { send(); });
    }
}

} // namespace Tarnwick
