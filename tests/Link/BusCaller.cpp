// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/BusCaller.h"

#include "Shared/HelperProtocol.h"

#include <algorithm>
#include <functional>
#include <system_error>

#include <poll.h>

namespace Tarnwick {

namespace {

const std::string serviceName(HelperProtocol::serviceName);
const std::string objectPath(HelperProtocol::objectPath);
const std::string interfaceName(HelperProtocol::interfaceName);

constexpr const char *busService = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";

/// Longer than any test waits: an answer that never comes must not look like an error that did.
constexpr std::chrono::duration<std::uint64_t, std::micro> answerTimeout = std::chrono::minutes(10);

void check(int result, const char *what)
{
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
}

BusMessage newRequest(sd_bus *bus, const std::string &destination, const char *member)
{
    sd_bus_message *made = nullptr;
    check(sd_bus_message_new_method_call(bus, &made, destination.c_str(), objectPath.c_str(),
                                         interfaceName.c_str(), member),
          "sd_bus_message_new_method_call");
    return take(made);
}

/// Asks the bus about a name; nothing when it answers with an error.
BusMessage askBus(sd_bus *bus, const char *member, const std::string &name)
{
    sd_bus_message *reply = nullptr;
    const int result = sd_bus_call_method(bus, busService, busPath, busService, member, nullptr,
                                          &reply, "s", name.c_str());
    return result < 0 ? BusMessage() : take(reply);
}

bool becomesTrue(const std::function<bool()> &condition, std::chrono::milliseconds patience)
{
    const auto deadline = BusCaller::Clock::now() + patience;
    while (!condition()) {
        if (BusCaller::Clock::now() > deadline) {
            return false;
        }
        ::poll(nullptr, 0, 2);
    }
    return true;
}

} // namespace

std::optional<std::vector<RawPortInfo>> BusCaller::Answer::records() const
{
    RawPortInfo::Decoded decoded = RawPortInfo::decode(payload);
    auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    return records != nullptr ? std::optional(std::move(*records)) : std::nullopt;
}

BusCaller::BusCaller(const std::string &address)
{
    sd_bus *made = nullptr;
    check(sd_bus_new(&made), "sd_bus_new");
    m_bus.reset(made);
    check(sd_bus_set_address(made, address.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(made, true), "sd_bus_set_bus_client");
    check(sd_bus_set_method_call_timeout(made, answerTimeout.count()), "timeout");
    check(sd_bus_start(made), "sd_bus_start");
    const char *name = nullptr;
    check(sd_bus_get_unique_name(made, &name), "sd_bus_get_unique_name");
}

BusCaller::~BusCaller()
{
    leave();
}

void BusCaller::leave()
{
    // Closed first, so that nothing waits for a bus that takes nothing any more.
    sd_bus_close(m_bus.get());
    m_bus.reset();
}

BusMessage BusCaller::request(const char *member) const
{
    return newRequest(m_bus.get(), serviceName, member);
}

BusCaller::Request BusCaller::send(const BusMessage &request)
{
    m_requests.push_back({this, std::nullopt});
    check(sd_bus_call_async(m_bus.get(), nullptr, request.get(), &onAnswer, &m_requests.back(), 0),
          "sd_bus_call_async");
    return m_requests.size() - 1;
}

BusCaller::Request BusCaller::askForList()
{
    return askForList(serviceName);
}

BusCaller::Request BusCaller::askForList(const std::string &destination)
{
    return send(newRequest(m_bus.get(), destination, "ListListeningPorts"));
}

BusCaller::Request BusCaller::askToKill(std::int32_t pid)
{
    const BusMessage kill = request("KillProcess");
    check(sd_bus_message_append(kill.get(), "i", pid), "sd_bus_message_append");
    return send(kill);
}

int BusCaller::onAnswer(sd_bus_message *reply, void *pending, sd_bus_error * /*error*/)
{
    auto &request = *static_cast<Pending *>(pending);
    Answer answer;
    const void *bytes = nullptr;
    std::size_t size = 0;
    std::int32_t code = 0;
    if (sd_bus_message_is_method_error(reply, nullptr) != 0) {
        answer.error = sd_bus_message_get_error(reply)->name;
    } else if (sd_bus_message_has_signature(reply, "ay") != 0) {
        check(sd_bus_message_read_array(reply, 'y', &bytes, &size), "sd_bus_message_read_array");
        answer.payload.assign(static_cast<const char *>(bytes), size);
    } else if (sd_bus_message_read(reply, "i", &code) > 0) {
        answer.code = code;
    }
    request.answer = std::move(answer);
    ++request.caller->m_answered;
    return 0;
}

bool BusCaller::work(Clock::time_point deadline)
{
    const int done = sd_bus_process(m_bus.get(), nullptr);
    check(done, "sd_bus_process");
    if (done > 0) {
        return true;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    return left > 0 && sd_bus_wait(m_bus.get(), static_cast<std::uint64_t>(left)) >= 0;
}

bool BusCaller::isAnswered(Request request) const
{
    return m_requests.at(request).answer.has_value();
}

const BusCaller::Answer &BusCaller::answer(Request request, std::chrono::milliseconds patience)
{
    static const Answer none{.error = "none", .payload = {}, .code = std::nullopt};
    const auto deadline = Clock::now() + patience;
    while (!isAnswered(request)) {
        if (!work(deadline)) {
            return none;
        }
    }
    return *m_requests.at(request).answer;
}

bool BusCaller::awaitAll(std::chrono::milliseconds patience)
{
    const auto deadline = Clock::now() + patience;
    while (m_answered < m_requests.size()) {
        if (!work(deadline)) {
            return false;
        }
    }
    return true;
}

void BusCaller::flush() const
{
    check(sd_bus_flush(m_bus.get()), "sd_bus_flush");
}

std::string BusCaller::owner(const std::string &name) const
{
    const char *unique = "";
    if (const BusMessage reply = askBus(m_bus.get(), "GetNameOwner", name)) {
        check(sd_bus_message_read(reply.get(), "s", &unique), "sd_bus_message_read");
        return unique;
    }
    return {};
}

std::int32_t BusCaller::process(const std::string &name) const
{
    std::uint32_t pid = 0;
    if (const BusMessage reply = askBus(m_bus.get(), "GetConnectionUnixProcessID", name)) {
        check(sd_bus_message_read(reply.get(), "u", &pid), "sd_bus_message_read");
    }
    return static_cast<std::int32_t>(pid);
}

bool BusCaller::awaitHelper(std::chrono::milliseconds patience) const
{
    return becomesTrue([this] { return !owner(serviceName).empty(); }, patience);
}

bool BusCaller::awaitNoHelper(std::chrono::milliseconds patience) const
{
    return becomesTrue([this] { return owner(serviceName).empty(); }, patience);
}

} // namespace Tarnwick
