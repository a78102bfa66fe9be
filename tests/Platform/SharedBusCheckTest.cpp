// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SharedBusCheck.h"

#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/UnresponsiveBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>

#include <QString>

#include <atomic>
#include <chrono>
#include <stop_token>
#include <string>
#include <thread>

#include <csignal>
#include <pthread.h>

using namespace Tarnwick;
using namespace std::string_literals;

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

TEST(SharedBusCheck, TakesTheAddressThatLibdbusTakes)
{
    const PrivateBus answering;
    const UnresponsiveBus unresponsive(UnresponsiveBus::Manner::Silent);
    const std::string tooLong = "unix:path=/" + std::string(200, 'x');
    for (const std::string &before :
         {""s, "unix:path=/nowhere/bus;"s, "unix:abstract=tarnwick-nowhere;"s,
          "unix:path=/nowhere/bus;unix:path=/dev/null;"s, tooLong + ";", "unix:tmpdir=/nowhere;"s,
          "unknown:a=b;"s}) {
        const QString address = QString::fromStdString(before + answering.address());
        EXPECT_TRUE(QDBusConnection::connectToBus(address, "list").isConnected()) << before;
        QDBusConnection::disconnectFromBus("list");
        EXPECT_FALSE(failsAt(before + answering.address(), longTimeout)) << before;
        EXPECT_TRUE(failsAt(before + unresponsive.address(), shortTimeout)) << before;
    }
    EXPECT_FALSE(failsAt(answering.address() + ";" + unresponsive.address(), longTimeout));
    EXPECT_TRUE(failsAt(unresponsive.address() + ";" + answering.address(), shortTimeout));
}

TEST(SharedBusCheck, TakesNoSignalForAnAnswer)
{
    static std::atomic<int> signals = 0;
    struct sigaction previous = {};
    struct sigaction counting = {};
    counting.sa_handler = [](int /*number*/) { ++signals; };
    ASSERT_EQ(sigaction(SIGUSR1, &counting, &previous), 0);
    for (const UnresponsiveBus::Manner manner :
         {UnresponsiveBus::Manner::Silent, UnresponsiveBus::Manner::Full}) {
        const UnresponsiveBus bus(manner);
        signals = 0;
        {
            const std::jthread sender([checking = pthread_self()](const std::stop_token &stop) {
                while (!stop.stop_requested()) {
                    pthread_kill(checking, SIGUSR1);
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
            });
            // The thread need not run within the first short time of a busy machine.
            while (signals == 0) {
                std::this_thread::yield();
            }
            const int before = signals;
            for (int times = 0; signals == before && times < 100; ++times) {
                EXPECT_TRUE(failsAt(bus.address(), shortTimeout));
            }
            EXPECT_GT(signals, before);
        }
    }
    sigaction(SIGUSR1, &previous, nullptr);
}

TEST(SharedBusCheck, FailsWhereTheBusIsStopped)
{
    const PrivateBus bus;
    bus.pause();
    EXPECT_TRUE(failsAt(bus.address(), shortTimeout));
    bus.resume();
}
