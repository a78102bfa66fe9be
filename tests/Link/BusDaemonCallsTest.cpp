// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusDaemonCalls.h"

#include "Helper/linux/SessionBus.h"
#include "tests/Link/BusCaller.h"
#include "tests/Link/ReplyForger.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <variant>

#include <unistd.h>

namespace Tarnwick {
namespace {

constexpr const char *name = "com.example.Requested";

/// Calls of the bus daemon, to which a stranger sends replies with guessed serial numbers first.
class BusDaemonCallsTest : public ::testing::Test
{
protected:
    /// More than the connection has made calls.
    static constexpr std::uint64_t serials = 64;

    BusDaemonCallsTest()
    {
        const char *unique = nullptr;
        sd_bus_get_unique_name(m_connection.get(), &unique);
        m_name = unique;
    }

    PrivateBus m_bus;
    ScopedEnvironment m_environment{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()};
    ReplyForger m_forger{m_bus.address()};
    BusHandle m_connection{std::get<BusHandle>(openSessionBus())};
    BusDaemonCalls m_calls{m_connection.get()};
    std::string m_name; ///< of the connection
};

TEST_F(BusDaemonCallsTest, RequestsANameThoughForgedErrorsComeFirst)
{
    for (std::uint64_t serial = 1; serial < serials; ++serial) {
        m_forger.replyWithErrorTo(m_name, serial, SD_BUS_ERROR_ACCESS_DENIED);
    }
    m_forger.flush();
    EXPECT_EQ(m_calls.requestName(name, 0), 1);
    EXPECT_EQ(BusCaller(m_bus.address()).owner(name), m_name);
}

TEST_F(BusDaemonCallsTest, RequestsANameThoughForgedRepliesComeFirst)
{
    BusCaller owner(m_bus.address());
    ASSERT_GE(sd_bus_request_name(owner.bus(), name, 0), 0);
    for (std::uint64_t serial = 1; serial < serials; ++serial) {
        m_forger.replyTo(m_name, serial,
                         [](sd_bus_message *reply) { sd_bus_message_append(reply, "u", 1U); });
    }
    m_forger.flush();
    constexpr std::uint32_t doNotQueue = 4;
    constexpr int exists = 3;
    EXPECT_EQ(m_calls.requestName(name, doNotQueue), exists);
}

TEST_F(BusDaemonCallsTest, KnowsTheProcessThatHasAName)
{
    EXPECT_EQ(m_calls.processOf(name), std::nullopt);
    BusCaller owner(m_bus.address());
    ASSERT_GE(sd_bus_request_name(owner.bus(), name, 0), 0);
    EXPECT_EQ(m_calls.processOf(name), ::getpid());
}

} // namespace
} // namespace Tarnwick
