// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusDaemonCalls.h"

#include "Helper/linux/CallFromC.h"

#include <cerrno>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// How many forged replies to one request are passed over.
constexpr int maxForgedReplies = 10;

} // namespace

BusDaemonCalls::BusDaemonCalls(sd_bus *bus)
    : m_bus(bus)
{
    sd_bus_slot *slot = nullptr;
    sd_bus_add_filter(bus, &slot, &BusDaemonCalls::onMessage, this);
    m_filter.reset(slot);
}

BusMessage BusDaemonCalls::make(const char *member, const std::string *argument) const
{
    sd_bus_message *made = nullptr;
    if (sd_bus_message_new_method_call(m_bus, &made, service, path, service, member) < 0) {
        return nullptr;
    }
    BusMessage call = take(made);
    if (argument != nullptr && sd_bus_message_append(made, "s", argument->c_str()) < 0) {
        return nullptr;
    }
    return call;
}

BusDaemonCalls::Id BusDaemonCalls::start(const BusMessage &call, Replied replied)
{
    Id id = 0;
    if (!call || sd_bus_send(m_bus, call.get(), &id) < 0) {
        return 0;
    }
    m_pending[id] = std::move(replied);
    return id;
}

BusDaemonCalls::Id BusDaemonCalls::call(const char *member, Replied replied)
{
    return start(make(member, nullptr), std::move(replied));
}

BusDaemonCalls::Id BusDaemonCalls::call(const char *member, const std::string &argument,
                                        Replied replied)
{
    return start(make(member, &argument), std::move(replied));
}

void BusDaemonCalls::send(const char *member, const std::string &argument)
{
    if (const BusMessage call = make(member, &argument)) {
        // Without a place for its serial number a call expects no reply.
        static_cast<void>(sd_bus_send(m_bus, call.get(), nullptr));
    }
}

int BusDaemonCalls::requestName(const std::string &name, std::uint32_t flags) const
{
    for (int forged = 0; forged <= maxForgedReplies; ++forged) {
        sd_bus_message *received = nullptr;
        const int failed = sd_bus_call_method(m_bus, service, path, service, "RequestName", nullptr,
                                              &received, "su", name.c_str(), flags);
        const BusMessage reply = take(received);
        std::uint32_t answer = 0;
        if (failed < 0) {
            return failed;
        }
        if (isFromDaemon(received) && sd_bus_message_read(received, "u", &answer) > 0) {
            return static_cast<int>(answer);
        }
    }
    return -EBADMSG;
}

bool BusDaemonCalls::isFromDaemon(sd_bus_message *message)
{
    const char *sender = sd_bus_message_get_sender(message);
    return sender != nullptr && std::string_view(sender) == service;
}

int BusDaemonCalls::onMessage(sd_bus_message *message, void *calls, sd_bus_error * /*error*/)
{
    auto &pending = static_cast<BusDaemonCalls *>(calls)->m_pending;
    Id id = 0;
    if (sd_bus_message_get_reply_cookie(message, &id) < 0 || !isFromDaemon(message)) {
        return 0;
    }
    const auto place = pending.find(id);
    if (place == pending.end()) {
        return 0;
    }
    const Replied replied = std::move(place->second);
    pending.erase(place);
    return callFromC(message, [&replied, message] { replied(message); });
}

} // namespace Tarnwick
