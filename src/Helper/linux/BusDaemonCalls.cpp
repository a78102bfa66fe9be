// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusDaemonCalls.h"

#include "Helper/linux/CallFromC.h"

#include <cerrno>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// What sd-bus itself waits for a reply.
constexpr std::chrono::seconds replyTimeout{25};

} // namespace

BusDaemonCalls::BusDaemonCalls(sd_bus *bus)
    : m_bus(bus)
{
    sd_bus_slot *slot = nullptr;
    sd_bus_add_filter(bus, &slot, &BusDaemonCalls::onMessage, this);
    m_filter.reset(slot);
}

/// A call, owned by the caller; null without memory.
sd_bus_message *BusDaemonCalls::make(const char *member, const std::string *argument) const
{
    sd_bus_message *call = nullptr;
    if (sd_bus_message_new_method_call(m_bus, &call, service, path, service, member) < 0) {
        return nullptr;
    }
    if (argument != nullptr && sd_bus_message_append(call, "s", argument->c_str()) < 0) {
        return sd_bus_message_unref(call);
    }
    return call;
}

BusDaemonCalls::Sent BusDaemonCalls::start(const BusMessage &call, Replied replied)
{
    if (!call) {
        return {.id = 0, .error = ENOMEM};
    }
    Id id = 0;
    if (const int failed = sd_bus_send(m_bus, call.get(), &id); failed < 0) {
        return {.id = 0, .error = -failed};
    }
    m_pending[id] = std::move(replied);
    return {.id = id, .error = 0};
}

BusDaemonCalls::Sent BusDaemonCalls::call(const char *member, Replied replied)
{
    return start(take(make(member, nullptr)), std::move(replied));
}

BusDaemonCalls::Sent BusDaemonCalls::call(const char *member, const std::string &argument,
                                          Replied replied)
{
    return start(take(make(member, &argument)), std::move(replied));
}

int BusDaemonCalls::send(const char *member, const std::string &argument)
{
    sd_bus_message *call = make(member, &argument);
    if (call == nullptr) {
        return ENOMEM;
    }
    // Without a place for its serial number a call expects no reply.
    const int sent = sd_bus_send(m_bus, call, nullptr);
    sd_bus_message_unref(call);
    return sent < 0 ? -sent : 0;
}

int BusDaemonCalls::requestName(const std::string &name, std::uint32_t flags)
{
    const BusMessage call = take(make("RequestName", &name));
    if (!call || sd_bus_message_append(call.get(), "u", flags) < 0) {
        return -ENOMEM;
    }
    const auto replied = await(call);
    if (const int *failed = std::get_if<int>(&replied)) {
        return -*failed;
    }
    std::uint32_t answer = 0;
    const BusMessage &reply = std::get<BusMessage>(replied);
    const int read = sd_bus_message_read(reply.get(), "u", &answer);
    return read > 0 ? static_cast<int>(answer) : -EBADMSG;
}

std::optional<pid_t> BusDaemonCalls::processOf(const std::string &name)
{
    const auto replied = await(take(make("GetConnectionUnixProcessID", &name)));
    const auto *reply = std::get_if<BusMessage>(&replied);
    std::uint32_t process = 0;
    if (reply == nullptr || sd_bus_message_read(reply->get(), "u", &process) <= 0) {
        return std::nullopt;
    }
    return static_cast<pid_t>(process);
}

/// The bus daemon's reply, unless it is an error, or the errno of the failure.
std::variant<BusMessage, int> BusDaemonCalls::await(const BusMessage &call)
{
    BusMessage reply;
    const Sent sent = start(call, [&reply](sd_bus_message *received) { reply = hold(received); });
    const auto deadline = std::chrono::steady_clock::now() + replyTimeout;
    int failed = sent.error;
    while (!reply && failed == 0) {
        failed = process(deadline);
    }
    forget(sent.id);
    if (reply && sd_bus_message_is_method_error(reply.get(), nullptr) > 0) {
        failed = sd_bus_message_get_errno(reply.get());
    }
    return failed != 0 ? std::variant<BusMessage, int>(failed) : reply;
}

/// Dispatches one message, or waits for one; 0, or the errno of the failure.
int BusDaemonCalls::process(std::chrono::steady_clock::time_point deadline)
{
    using std::chrono::microseconds;
    const int processed = sd_bus_process(m_bus, nullptr);
    if (processed < 0) {
        return -processed;
    }
    if (sd_bus_is_open(m_bus) <= 0) {
        return ECONNRESET;
    }
    if (processed > 0) {
        return 0;
    }
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left <= microseconds::zero()) {
        return ETIMEDOUT;
    }
    const int waited = sd_bus_wait(
        m_bus, static_cast<std::uint64_t>(std::chrono::ceil<microseconds>(left).count()));
    return waited < 0 && waited != -EINTR ? -waited : 0;
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
