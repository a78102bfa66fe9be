// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/FileDescriptor.h"
#include "tests/Link/HelperFixture.h"
#include "tests/Link/ReplyForger.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/TemporaryCopy.h"
#include "tests/Support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using std::chrono::seconds;
using Clock = BusCaller::Clock;

class HelperOnBus : public HelperFixture
{
protected:
    /// What listens on @p port goes by, according to an answer; empty when nothing does.
    [[nodiscard]] static std::string nameOn(const BusCaller::Answer &answer, int port)
    {
        for (const RawPortInfo &record : answer.records().value_or(std::vector<RawPortInfo>())) {
            if (record.port == port) {
                return record.processName;
            }
        }
        return {};
    }
};

TEST_F(HelperOnBus, ListsAListenerAsSoonAsItListens)
{
    Puppet server;
    const int port = server.listen().port;
    EXPECT_EQ(owner(m_caller.list(), port), server.pid());
}

TEST_F(HelperOnBus, ListsNoMoreWhatHasEnded)
{
    Puppet server;
    const int port = server.listen().port;
    ASSERT_EQ(owner(m_caller.list(), port), server.pid());
    server.end();
    EXPECT_EQ(owner(m_caller.list(), port), std::nullopt);
}

TEST_F(HelperOnBus, EndsAListener)
{
    Puppet server;
    const int port = server.listen().port;
    ASSERT_EQ(owner(m_caller.list(), port), server.pid());
    EXPECT_EQ(m_caller.kill(server.pid()).code, 0);
    EXPECT_TRUE(server.hasEnded());
    EXPECT_EQ(owner(m_caller.list(), port), std::nullopt);
}

TEST_F(HelperOnBus, EndsWhatAnotherClientWasShownForOneWhoNeverListed)
{
    Puppet server;
    server.listen();
    static_cast<void>(BusCaller(m_bus.address()).list());
    EXPECT_EQ(m_caller.kill(server.pid()).code, 0);
}

TEST_F(HelperOnBus, RefusesWhatItNeverReported)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(m_caller.kill(server.pid()).code, 2);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(HelperOnBus, RefusesWhatOnlyAnotherClientWasShown)
{
    static_cast<void>(m_caller.list());
    Puppet server;
    const int port = server.listen().port;
    BusCaller other(m_bus.address());
    ASSERT_EQ(owner(other.list(), port), server.pid());
    EXPECT_EQ(m_caller.kill(server.pid()).code, 2);
    EXPECT_FALSE(server.hasEnded());
    EXPECT_EQ(other.kill(server.pid()).code, 0);
}

TEST_F(HelperOnBus, KeepsTheNameOfAListenerThatRenamesItself)
{
    Puppet server;
    const int port = server.listen().port;
    const std::string name = nameOn(m_caller.list(), port);
    ASSERT_NE(name, "");
    server.rename("renamed");
    server.retitle("renamed: serving");
    EXPECT_EQ(nameOn(m_caller.list(), port), name);
    BusCaller newcomer(m_bus.address());
    EXPECT_EQ(nameOn(newcomer.list(), port), name);
}

TEST_F(HelperOnBus, LeavesAListenerThatBecameAnotherProgramOutOnceForEachClient)
{
    const TemporaryCopy copies;
    Puppet server;
    const int port = server.listen().port;
    BusCaller other(m_bus.address());
    ASSERT_EQ(owner(m_caller.list(), port), server.pid());
    ASSERT_EQ(owner(other.list(), port), server.pid());
    server.exec(copies.copy(Puppet::program(), "successor"), {"successor"});

    BusCaller newcomer(m_bus.address());
    EXPECT_EQ(nameOn(newcomer.list(), port), "successor");
    // These two wait together, and so share a scan.
    const auto first = m_caller.askForList();
    const auto second = m_caller.askForList();
    EXPECT_EQ(owner(m_caller.answer(first), port), std::nullopt);
    EXPECT_EQ(nameOn(m_caller.answer(second), port), "successor");
    EXPECT_EQ(owner(other.list(), port), std::nullopt);
    EXPECT_EQ(nameOn(other.list(), port), "successor");
    EXPECT_EQ(nameOn(m_caller.list(), port), "successor");
}

TEST_F(HelperOnBus, EndsAListenerThatItLeftOutSinceItBecameAnotherProgram)
{
    const TemporaryCopy copies;
    Puppet server;
    const int port = server.listen().port;
    ASSERT_EQ(owner(m_caller.list(), port), server.pid());
    server.exec(copies.copy(Puppet::program(), "successor"), {"successor"});
    ASSERT_EQ(owner(m_caller.list(), port), std::nullopt);
    EXPECT_EQ(m_caller.kill(server.pid()).code, 0);
}

TEST_F(HelperOnBus, ForcesAStubbornListenerAfterThreeSecondsAndListsMeanwhile)
{
    Puppet server;
    const int port = server.listen().port;
    server.ignoreSignal(SIGTERM);
    static_cast<void>(m_caller.list());
    const auto begin = Clock::now();
    const auto kill = m_caller.askToKill(server.pid());

    BusCaller other(m_bus.address());
    EXPECT_EQ(owner(other.list(), port), server.pid());
    EXPECT_EQ(owner(m_caller.list(), port), server.pid());
    EXPECT_FALSE(m_caller.isAnswered(kill)) << "a listing waited for the kill";

    EXPECT_EQ(m_caller.answer(kill).code, 1);
    EXPECT_TRUE(server.hasEnded());
    EXPECT_GE(Clock::now() - begin, seconds(3));
    EXPECT_LT(Clock::now() - begin, seconds(8));
}

TEST_F(HelperOnBus, AnswersTwoWhoEndTheSameListenerAlike)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    BusCaller other(m_bus.address());
    static_cast<void>(m_caller.list());
    const auto first = m_caller.askToKill(server.pid());
    static_cast<void>(m_caller.list());
    const auto second = other.askToKill(server.pid());
    EXPECT_EQ(m_caller.answer(first).code, 1);
    EXPECT_EQ(other.answer(second).code, 1);
}

TEST_F(HelperOnBus, RefusesToEndItselfItsCallerAndTheFirstProcess)
{
    EXPECT_EQ(m_caller.kill(m_helper.pid()).code, 2);
    EXPECT_EQ(m_caller.kill(::getpid()).code, 2);
    EXPECT_EQ(m_caller.kill(1).code, 2);
}

TEST_F(HelperOnBus, RefusesToEndWhatDoesNotListen)
{
    Puppet bystander;
    EXPECT_EQ(m_caller.kill(bystander.pid()).code, 2);
    EXPECT_FALSE(bystander.hasEnded());
}

TEST_F(HelperOnBus, FindsNothingUnderWhatIsNoProcessIdentifier)
{
    for (const std::int32_t pid : {0, -1, std::numeric_limits<std::int32_t>::min(),
                                   std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(m_caller.kill(pid).code, 3) << pid;
    }
}

TEST_F(HelperOnBus, FindsNothingWhereTheListenerIsAlreadyGone)
{
    Puppet server;
    server.listen();
    const pid_t pid = server.pid();
    static_cast<void>(m_caller.list());
    server.end();
    EXPECT_EQ(m_caller.kill(pid).code, 3);
}

TEST_F(HelperOnBus, RefusesArgumentsOfOtherTypes)
{
    const BusMessage unsignedNumber = m_caller.request("KillProcess");
    sd_bus_message_append(unsignedNumber.get(), "u", 4711U);
    const BusMessage text = m_caller.request("KillProcess");
    sd_bus_message_append(text.get(), "s", "4711");
    const BusMessage two = m_caller.request("KillProcess");
    sd_bus_message_append(two.get(), "ii", 4711, 9);
    const BusMessage superfluous = m_caller.request("ListListeningPorts");
    sd_bus_message_append(superfluous.get(), "i", 4711);
    for (const BusMessage &request :
         {unsignedNumber, text, two, superfluous, m_caller.request("KillProcess")}) {
        EXPECT_EQ(m_caller.answer(m_caller.send(request)).error,
                  "org.freedesktop.DBus.Error.InvalidArgs");
    }
}

TEST_F(HelperOnBus, GetsNoDescriptors)
{
    const TemporaryFolder folder;
    const FileDescriptor sent(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
    const BusMessage request = m_caller.request("KillProcess");
    sd_bus_message_append(request.get(), "h", sent.get());
    // By the bus: the helper itself would find the arguments wrong.
    EXPECT_EQ(m_caller.answer(m_caller.send(request)).error,
              "org.freedesktop.DBus.Error.NotSupported");
}

struct WrongCall
{
    const char *path;
    const char *interface;
    const char *member;
    const char *error;
};

TEST_F(HelperOnBus, RefusesWhatItDoesNotOffer)
{
    constexpr const char *path = "/com/velmora/tarnwick/helper";
    constexpr const char *interface = "com.velmora.tarnwick.helper";
    for (const WrongCall &call : {
             WrongCall{path, interface, "KillEverything",
                       "org.freedesktop.DBus.Error.UnknownMethod"},
             WrongCall{path, "com.example.Other", "ListListeningPorts",
                       "org.freedesktop.DBus.Error.UnknownMethod"},
             WrongCall{"/com/velmora/tarnwick", interface, "ListListeningPorts",
                       "org.freedesktop.DBus.Error.UnknownObject"},
             WrongCall{"/", interface, "ListListeningPorts",
                       "org.freedesktop.DBus.Error.UnknownObject"},
         }) {
        sd_bus_message *made = nullptr;
        sd_bus_message_new_method_call(m_caller.bus(), &made, "com.velmora.tarnwick.helper",
                                       call.path, call.interface, call.member);
        EXPECT_EQ(m_caller.answer(m_caller.send(take(made))).error, call.error)
            << call.path << ' ' << call.interface << ' ' << call.member;
    }
}

TEST_F(HelperOnBus, DoesWithoutAnAnswerWhatIsAskedWithoutOne)
{
    Puppet server;
    server.listen();
    static_cast<void>(m_caller.list());
    for (const char *member : {"ListListeningPorts", "KillProcess"}) {
        const BusMessage request = m_caller.request(member);
        if (std::string_view(member) == "KillProcess") {
            sd_bus_message_append(request.get(), "i", server.pid());
        }
        sd_bus_message_set_expect_reply(request.get(), false);
        sd_bus_send(m_caller.bus(), request.get(), nullptr);
    }
    EXPECT_TRUE(m_caller.list().records().has_value());
    EXPECT_TRUE(server.awaitEnd());
}

TEST_F(HelperOnBus, AnswersEveryRequestOfOneWhoSendsManyAtOnce)
{
    Puppet server;
    const int port = server.listen().port;
    for (int times = 0; times < 100; ++times) {
        m_caller.askForList();
    }
    const auto kill = m_caller.askToKill(::getpid());
    ASSERT_TRUE(m_caller.awaitAll());
    EXPECT_EQ(m_caller.answer(kill).code, 2);
    for (BusCaller::Request request = 0; request < 100; ++request) {
        EXPECT_EQ(owner(m_caller.answer(request), port), server.pid());
    }
}

TEST_F(HelperOnBus, EndsTheListenerThoughTheCallerLeaves)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    {
        BusCaller leaving(m_bus.address());
        static_cast<void>(leaving.list());
        leaving.askToKill(server.pid());
        for (int times = 0; times < 50; ++times) {
            leaving.askForList();
        }
        leaving.flush();
    }
    EXPECT_TRUE(m_caller.list().records().has_value());
    EXPECT_TRUE(server.awaitEnd());
}

/// A bus that other users may connect to as well.
class HelperOnOpenBus : public HelperFixture
{
protected:
    HelperOnOpenBus()
        : HelperFixture({.letsEveryUserIn = true, .configuration = {}})
    {
    }
};

TEST_F(HelperOnOpenBus, RefusesWhoeverIsAnotherUser)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    Puppet server;
    server.listen();
    const int refused = asOtherUser([this, &server] {
        const std::string denied = "org.freedesktop.DBus.Error.AccessDenied";
        BusCaller stranger(m_bus.address());
        const bool neither =
            stranger.list().error == denied && stranger.kill(server.pid()).error == denied;
        return neither && stranger.list().error == denied ? 0 : 1;
    });
    EXPECT_EQ(refused, 0);
    EXPECT_FALSE(server.hasEnded());
}

/// A bus that does not tell who its clients are.
class HelperOnSecretiveBus : public HelperFixture
{
protected:
    HelperOnSecretiveBus()
        : HelperFixture({.letsEveryUserIn = false, .configuration = R"(<policy context="default">
                             <deny send_destination="org.freedesktop.DBus"
                                   send_interface="org.freedesktop.DBus"
                                   send_member="GetConnectionCredentials"/></policy>)"})
    {
    }

    void TearDown() override { EXPECT_FALSE(m_helper.hasEnded()) << m_helper.output(); }
};

TEST_F(HelperOnSecretiveBus, RefusesWhoeverItCannotIdentify)
{
    EXPECT_EQ(m_caller.answer(m_caller.askForList(), seconds(10)).error,
              "org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_EQ(m_caller.answer(m_caller.askToKill(4711), seconds(10)).error,
              "org.freedesktop.DBus.Error.AccessDenied");
}

TEST_F(HelperOnSecretiveBus, BelievesNobodyElseWhoAsks)
{
    // Replies with every serial number that the helper's next calls may have wait for it behind the
    // request.
    constexpr std::uint64_t serials = 64;
    const ReplyForger forger(m_bus.address());
    const std::string helper = m_caller.owner("com.velmora.tarnwick.helper");
    m_helper.signal(SIGSTOP);
    const auto request = m_caller.askForList();
    m_caller.flush();
    ASSERT_EQ(m_caller.owner("com.velmora.tarnwick.helper"), helper); // the bus has the request
    for (std::uint64_t serial = 1; serial < serials; ++serial) {
        forger.replyTo(helper, serial, [](sd_bus_message *reply) {
            sd_bus_message_append(reply, "a{sv}", 2, "UnixUserID", "u", ::geteuid(), "ProcessID",
                                  "u", 1U);
        });
    }
    forger.flush();
    m_helper.signal(SIGCONT);
    EXPECT_EQ(m_caller.answer(request, seconds(10)).error,
              "org.freedesktop.DBus.Error.AccessDenied");
}

/// A bus that lets nobody watch more than a few names.
class HelperOnStrictBus : public HelperFixture
{
protected:
    HelperOnStrictBus()
        : HelperFixture(
              {.letsEveryUserIn = false,
               .configuration = R"(<limit name="max_match_rules_per_connection">4</limit>)"})
    {
    }
};

TEST_F(HelperOnStrictBus, WatchesNoClientThatHasLeft)
{
    for (int client = 0; client < 40; ++client) {
        BusCaller passing(m_bus.address());
        ASSERT_TRUE(passing.list().records().has_value()) << client;
    }
}

} // namespace
} // namespace Tarnwick
