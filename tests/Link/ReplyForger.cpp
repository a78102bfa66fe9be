// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/ReplyForger.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace Tarnwick {

namespace {

constexpr const char *busService = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";

/// In which the thread notices that it is over, in microseconds.
constexpr std::uint64_t nap = 5000;

void check(int result, const char *what)
{
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
    }
}

void sendReply(sd_bus_message *call, const char *destination, const ReplyForger::Fill &fill)
{
    sd_bus_message *made = nullptr;
    check(sd_bus_message_new_method_return(call, &made), "sd_bus_message_new_method_return");
    const BusMessage reply = take(made);
    if (destination != nullptr) {
        check(sd_bus_message_set_destination(made, destination), "sd_bus_message_set_destination");
    }
    fill(made);
    check(sd_bus_send(sd_bus_message_get_bus(call), made, nullptr), "sd_bus_send");
}

} // namespace

ReplyForger::ReplyForger(const std::string &address)
{
    sd_bus *made = nullptr;
    check(sd_bus_new(&made), "sd_bus_new");
    m_bus.reset(made);
    check(sd_bus_set_address(made, address.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(made, true), "sd_bus_set_bus_client");
    check(sd_bus_start(made), "sd_bus_start");
    const char *name = nullptr;
    check(sd_bus_get_unique_name(made, &name), "sd_bus_get_unique_name");
    m_name = name;
}

ReplyForger::~ReplyForger()
{
    m_isOver = true;
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void ReplyForger::replyTo(const std::string &member, Fill fill, int most)
{
    m_member = member;
    m_fill = std::move(fill);
    m_most = most;
    sd_bus_add_filter(m_bus.get(), nullptr, &ReplyForger::onMessage, this);
    const std::string rule = "type='method_call',eavesdrop='true',member='" + member + "'";
    check(sd_bus_call_method(m_bus.get(), busService, busPath, busService, "AddMatch", nullptr,
                             nullptr, "s", rule.c_str()),
          "AddMatch");
    m_thread = std::thread([this] { run(); });
}

void ReplyForger::run()
{
    while (!m_isOver) {
        const int done = sd_bus_process(m_bus.get(), nullptr);
        if (done < 0) {
            return; // the bus has ended
        }
        if (done == 0) {
            static_cast<void>(sd_bus_wait(m_bus.get(), nap));
        }
    }
}

int ReplyForger::onMessage(sd_bus_message *message, void *forger, sd_bus_error * /*error*/)
{
    auto &self = *static_cast<ReplyForger *>(forger);
    if (sd_bus_message_is_method_call(message, nullptr, self.m_member.c_str()) <= 0) {
        return 0;
    }
    if (self.m_forged < self.m_most) {
        sendReply(message, nullptr, self.m_fill);
        ++self.m_forged;
    }
    return 1; // and no error on behalf of the one who was called
}

/// What a call would have been, as far as a reply depends on it.
BusMessage ReplyForger::callWith(std::uint64_t serial) const
{
    sd_bus_message *made = nullptr;
    check(sd_bus_message_new_method_call(m_bus.get(), &made, nullptr, busPath, nullptr, "Any"),
          "sd_bus_message_new_method_call");
    BusMessage call = take(made);
    check(sd_bus_message_seal(made, serial, 0), "sd_bus_message_seal");
    return call;
}

void ReplyForger::replyTo(const std::string &destination, std::uint64_t serial,
                          const Fill &fill) const
{
    sendReply(callWith(serial).get(), destination.c_str(), fill);
}

void ReplyForger::replyWithErrorTo(const std::string &destination, std::uint64_t serial,
                                   const char *name) const
{
    const sd_bus_error error = {name, "forged", 0};
    sd_bus_message *made = nullptr;
    check(sd_bus_message_new_method_error(callWith(serial).get(), &made, &error),
          "sd_bus_message_new_method_error");
    const BusMessage reply = take(made);
    check(sd_bus_message_set_destination(made, destination.c_str()),
          "sd_bus_message_set_destination");
    check(sd_bus_send(m_bus.get(), made, nullptr), "sd_bus_send");
}

void ReplyForger::flush() const
{
    // The bus takes messages of one connection in their order.
    check(sd_bus_call_method(m_bus.get(), busService, busPath, busService, "GetId", nullptr,
                             nullptr, ""),
          "GetId");
}

} // namespace Tarnwick
