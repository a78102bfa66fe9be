// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/NotifierHosts.h"

#include "Helper/linux/BusHandles.h"
#include "tests/Link/ReplyForger.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

class NotifierHostsTest : public ::testing::Test
{
protected:
    /// Whether there are hosts, once that is known.
    [[nodiscard]] static std::optional<bool> presence()
    {
        const NotifierHosts hosts;
        static_cast<void>(await([&hosts] { return hosts.arePresent().has_value(); }));
        return hosts.arePresent();
    }

    /// Somebody who has the watcher's name and never answers.
    [[nodiscard]] static BusHandle hangingWatcher()
    {
        sd_bus *opened = nullptr;
        sd_bus_open_user(&opened);
        BusHandle bus(opened);
        EXPECT_GE(sd_bus_request_name(opened, "org.kde.StatusNotifierWatcher", 0), 0);
        return bus;
    }

    PrivateBus m_bus;
    ScopedEnvironment m_environment{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()};
};

TEST_F(NotifierHostsTest, AreAbsentWhereNobodyHasTheWatchersName)
{
    EXPECT_EQ(presence(), false);
}

TEST_F(NotifierHostsTest, AreNotPresentBecauseAStrangerSaysSo)
{
    const BusHandle watcher = hangingWatcher();
    ReplyForger forger(m_bus.address());
    forger.replyTo("Get", [](sd_bus_message *reply) { sd_bus_message_append(reply, "v", "b", 1); });
    EXPECT_EQ(presence(), false);
    EXPECT_GT(forger.forged(), 0);
}

} // namespace
} // namespace Tarnwick
