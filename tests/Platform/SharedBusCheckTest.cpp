// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SharedBusCheck.h"

#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/UnresponsiveBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>

#include <chrono>
#include <string>

using namespace Tarnwick;

namespace {

constexpr const char *variable = "DBUS_SESSION_BUS_ADDRESS";

/// For a bus that never answers, and for one that surely does.
constexpr std::chrono::milliseconds shortTimeout{50};
constexpr std::chrono::seconds longTimeout{30};

/// Whether the check takes the bus at @p address for one that does not answer.
bool failsAt(const std::string &address, std::chrono::milliseconds timeout)
{
    const ScopedEnvironment environment(variable, address);
    {
        const SharedBusCheck check(timeout);
        EXPECT_EQ(qEnvironmentVariable(variable).toStdString() != address,
                  SharedBusCheck::hasFailed());
    }
    EXPECT_EQ(qEnvironmentVariable(variable).toStdString(), address);
    return SharedBusCheck::hasFailed();
}

} // namespace

TEST(SharedBusCheck, PassesABusThatAnswers)
{
    const PrivateBus bus;
    EXPECT_FALSE(failsAt(bus.address(), longTimeout));
}

TEST(SharedBusCheck, PassesABusThatIsNotThere)
{
    EXPECT_FALSE(failsAt("unix:path=/nowhere/bus", longTimeout));
    EXPECT_FALSE(failsAt("unix:abstract=tarnwick-nowhere", longTimeout));
}

TEST(SharedBusCheck, PassesWhatItCannotCheck)
{
    EXPECT_FALSE(failsAt("tcp:host=localhost,port=1", longTimeout));
    EXPECT_FALSE(failsAt("unix:path=/" + std::string(200, 'x'), longTimeout));
    EXPECT_FALSE(failsAt("nonsense", longTimeout));
}

TEST(SharedBusCheck, FailsWhereTheBusDoesNotAnswerAndHasTheSharedConnectionFailAtOnce)
{
    const UnresponsiveBus bus(UnresponsiveBus::Manner::Silent);
    EXPECT_TRUE(failsAt(bus.address(), shortTimeout));
    EXPECT_FALSE(QDBusConnection::sessionBus().isConnected());
}

TEST(SharedBusCheck, FailsWhereTheBusHasNoRoomForAConnection)
{
    const UnresponsiveBus bus(UnresponsiveBus::Manner::Full);
    EXPECT_TRUE(failsAt(bus.address(), shortTimeout));
}

TEST(SharedBusCheck, FailsWhereTheBusIsStopped)
{
    const PrivateBus bus;
    bus.pause();
    EXPECT_TRUE(failsAt(bus.address(), shortTimeout));
    bus.resume();
}
