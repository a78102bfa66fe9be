// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HelperBus.h"

#include "tests/Link/BusCaller.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int notOpened = -1;

/// The channel in a thread of this process, with less patience and other work than in the helper's.
class HelperBusTest : public ::testing::Test
{
protected:
    /// So long that a client on a busy machine comes in time.
    static constexpr milliseconds usualPatience{500};

    /// Until the channel ends the loop; the loop's status.
    [[nodiscard]] std::future<int> start(milliseconds patience)
    {
        return std::async(std::launch::async, [this, patience] {
            SystemdEventLoop loop;
            HelperService service(loop, m_work);
            const HelperBus::Opened opened = HelperBus::open(loop, service, patience);
            const auto *channel = std::get_if<std::unique_ptr<HelperBus>>(&opened);
            m_opened.release();
            return channel != nullptr ? loop.run() : notOpened;
        });
    }

    /// Whether the channel is on the bus, be it ever so briefly.
    [[nodiscard]] bool opens() { return m_opened.try_acquire_for(seconds(20)); }

    static bool ends(const std::future<int> &helper)
    {
        return helper.wait_for(seconds(20)) == std::future_status::ready;
    }

    [[nodiscard]] static Scan emptyScan()
    {
        return ScanResult{{}, std::make_shared<const ProcessReport>(), {}};
    }

    PrivateBus m_bus;
    ScopedEnvironment m_environment{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()};
    BusCaller m_caller{m_bus.address()};
    std::binary_semaphore m_opened{0};
    HelperService::Work m_work{
        .scan = [](const ScanRequest &) { return emptyScan(); },
        .admit = [](std::int32_t, const ProcessIdentity *, std::optional<std::int32_t>)
            -> ProcessTerminator::Admitted { return KillResultCode::NotFound; },
        .start = [](ProcessTerminator::Target, const Ownership &) -> ProcessTerminator::Started {
            return KillResultCode::NotFound;
        },
    };
};

TEST_F(HelperBusTest, AnswersWithTheWorkOfTheService)
{
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.list().payload, "[]");
    EXPECT_EQ(m_caller.kill(4711).code, 3);
    m_caller.leave();
    ASSERT_TRUE(ends(helper));
    EXPECT_EQ(helper.get(), 0);
}

TEST_F(HelperBusTest, TellsAnErrorOfTheSystemByItsName)
{
    m_work.scan = [](const ScanRequest &) {
        return ListingError{.code = EMFILE, .message = "no descriptors left"};
    };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.list().error, "System.Error.EMFILE");
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, TellsAnErrorWithoutANameAsOneOfInputAndOutput)
{
    m_work.scan = [](const ScanRequest &) { return ListingError{.code = 9999, .message = {}}; };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.list().error, "System.Error.EIO");
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, RefusesAListingThatIsLargerThanTheBusTakes)
{
    m_work.scan = [](const ScanRequest &) {
        RawPortInfo large;
        large.processName.assign(100'000, 'x');
        return ScanResult{
            std::vector<RawPortInfo>(700, large), std::make_shared<const ProcessReport>(), {}};
    };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.list().error, "System.Error.EMSGSIZE");
    EXPECT_EQ(m_caller.kill(4711).code, 3) << "it is still on the bus";
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, TellsWhoAsksToTheTerminator)
{
    std::optional<std::int32_t> told;
    m_work.admit = [&told](std::int32_t, const ProcessIdentity *,
                           std::optional<std::int32_t> caller) {
        told = caller;
        return ProcessTerminator::Admitted(KillResultCode::PermissionDenied);
    };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.kill(4711).code, 2);
    m_caller.leave();
    ASSERT_TRUE(ends(helper));
    EXPECT_EQ(told, ::getpid());
}

TEST_F(HelperBusTest, ListsForOneWhileAnotherKeepsItBusy)
{
    // Each kill takes as many milliseconds as its number says.
    constexpr int many = 1000;
    int kills = 0;
    int killsBeforeListing = 0;
    m_work.admit = [&kills](std::int32_t pid, const ProcessIdentity *,
                            std::optional<std::int32_t>) {
        ++kills;
        const auto end = BusCaller::Clock::now() + milliseconds(pid);
        while (BusCaller::Clock::now() < end) {
        }
        return ProcessTerminator::Admitted(KillResultCode::PermissionDenied);
    };
    m_work.scan = [&kills, &killsBeforeListing](const ScanRequest &) {
        killsBeforeListing = kills;
        return emptyScan();
    };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    BusCaller busy(m_bus.address());
    static_cast<void>(busy.list());
    static_cast<void>(m_caller.list());

    // While it is at the first, the others come.
    busy.askToKill(500);
    ASSERT_EQ(busy.process(busy.owner("com.velmora.tarnwick.helper")), ::getpid());
    const auto list = m_caller.askForList();
    ASSERT_EQ(m_caller.process(m_caller.owner("com.velmora.tarnwick.helper")), ::getpid());
    for (int times = 0; times < many; ++times) {
        busy.askToKill(1);
    }
    EXPECT_EQ(m_caller.answer(list).payload, "[]");
    m_caller.leave();
    EXPECT_TRUE(busy.awaitAll());
    busy.leave();
    ASSERT_TRUE(ends(helper));
    EXPECT_LT(killsBeforeListing, many / 2);
}

TEST_F(HelperBusTest, AnswersAKillThatDidNotEndWithAnErrorOfTheSystem)
{
    m_work.admit = [](std::int32_t, const ProcessIdentity *, std::optional<std::int32_t>) {
        return ProcessTerminator::Admitted(KillError{.code = ETIMEDOUT, .message = "lives on"});
    };
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    EXPECT_EQ(m_caller.kill(4711).error, "System.Error.ETIMEDOUT");
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

/// The answer of a kill, in a process of its own, when the first messages of the helper that come
/// after it was decided fail to be sent; the code, or 100.
int answerThoughSendingFails(int failures, int error, const std::string &address)
{
    const ScopedEnvironment environment("DBUS_SESSION_BUS_ADDRESS", address);
    const std::array<long, 1> sends{SYS_sendmsg};
    std::optional<FailingCalls> calls;
    try {
        calls.emplace(sends);
    } catch (const std::runtime_error &) {
        return 125;
    }
    HelperService::Work work;
    work.admit = [&](std::int32_t, const ProcessIdentity *, std::optional<std::int32_t>) {
        failures > 1 ? calls->failEach(SYS_sendmsg, error) : calls->fail(0, error);
        return ProcessTerminator::Admitted(KillResultCode::Terminated);
    };
    BusCaller caller(address);
    std::binary_semaphore opened{0};
    auto helper = std::async(std::launch::async, [&work, &opened] {
        SystemdEventLoop loop;
        HelperService service(loop, work);
        const HelperBus::Opened channel = HelperBus::open(loop, service, seconds(1));
        opened.release();
        return std::holds_alternative<std::string>(channel) ? notOpened : loop.run();
    });
    opened.acquire();
    const auto request = caller.askToKill(4711);
    caller.flush();
    if (failures > 1) {
        // Until some have failed.
        static_cast<void>(caller.answer(request, milliseconds(200)));
        static_cast<void>(calls->stop());
    }
    const int code = caller.answer(request).code.value_or(100);
    caller.leave();
    return helper.wait_for(seconds(20)) == std::future_status::ready ? code : 124;
}

TEST_F(HelperBusTest, AnswersAKillThoughSendingTheAnswerFailsForAWhile)
{
    for (const int failures : {1, 1000}) {
        for (const int error : {ENOBUFS, ENOMEM, EAGAIN, EIO}) {
            const int code = inOwnProcess([this, failures, error] {
                return answerThoughSendingFails(failures, error, m_bus.address());
            });
            if (code == 125) {
                GTEST_SKIP() << "no system call can be made to fail here";
            }
            EXPECT_EQ(code, 0) << std::strerror(error) << ", " << failures << " times";
        }
    }
}

/// What a new client is answered, in a process of its own, when the message that the helper sends
/// after @p skipped others fails once.
enum FirstAnswer { Listed, Denied, OtherAnswer, NoAnswer };

int firstAnswerThoughSendingFails(unsigned skipped, int error, const std::string &address)
{
    const ScopedEnvironment environment("DBUS_SESSION_BUS_ADDRESS", address);
    const std::array<long, 1> sends{SYS_sendmsg};
    std::optional<FailingCalls> calls;
    try {
        calls.emplace(sends);
    } catch (const std::runtime_error &) {
        return 125;
    }
    HelperService::Work work;
    work.scan = [](const ScanRequest &) {
        return ScanResult{{}, std::make_shared<const ProcessReport>(), {}};
    };
    BusCaller caller(address);
    std::binary_semaphore opened{0};
    auto helper = std::async(std::launch::async, [&work, &opened] {
        SystemdEventLoop loop;
        HelperService service(loop, work);
        const HelperBus::Opened channel = HelperBus::open(loop, service, seconds(1));
        opened.release();
        return std::holds_alternative<std::string>(channel) ? notOpened : loop.run();
    });
    opened.acquire();
    calls->fail(1 + skipped, error); // the first one is the caller's
    const BusCaller::Answer answer = caller.answer(caller.askForList(), seconds(20));
    const bool hasFailed = calls->stop().has_value();
    caller.leave();
    if (!hasFailed || helper.wait_for(seconds(20)) != std::future_status::ready) {
        return 124;
    }
    if (answer.error == "none") {
        return NoAnswer;
    }
    if (answer.error == "org.freedesktop.DBus.Error.AccessDenied") {
        return Denied;
    }
    return answer.payload == "[]" ? Listed : OtherAnswer;
}

TEST_F(HelperBusTest, AnswersANewClientThoughSendingAnyMessageFails)
{
    // Two calls of the bus, and the answer.
    constexpr unsigned messages = 3;
    for (unsigned skipped = 0; skipped < messages; ++skipped) {
        for (const int error : {ENOBUFS, ENOMEM}) {
            const int answer = inOwnProcess([this, skipped, error] {
                return firstAnswerThoughSendingFails(skipped, error, m_bus.address());
            });
            if (answer == 125) {
                GTEST_SKIP() << "no system call can be made to fail here";
            }
            EXPECT_EQ(answer, Listed) << std::strerror(error) << ", " << skipped;
        }
    }
}

TEST_F(HelperBusTest, AnswersAListingWithAnErrorWhenMemoryIsShortForLong)
{
    const int code = inOwnProcess([this] {
        const ScopedEnvironment environment("DBUS_SESSION_BUS_ADDRESS", m_bus.address());
        const std::array<long, 1> sends{SYS_sendmsg};
        std::optional<FailingCalls> calls;
        try {
            calls.emplace(sends);
        } catch (const std::runtime_error &) {
            return 125;
        }
        HelperService::Work work = m_work;
        work.scan = [&calls](const ScanRequest &) {
            calls->failEach(SYS_sendmsg, ENOMEM);
            return emptyScan();
        };
        BusCaller caller(m_bus.address());
        std::binary_semaphore opened{0};
        auto helper = std::async(std::launch::async, [&work, &opened] {
            SystemdEventLoop loop;
            HelperService service(loop, work);
            const HelperBus::Opened channel = HelperBus::open(loop, service, seconds(1));
            opened.release();
            return std::holds_alternative<std::string>(channel) ? notOpened : loop.run();
        });
        opened.acquire();
        const auto request = caller.askForList();
        // Between the ends of what is waited for a listing and for its error.
        static_cast<void>(
            caller.answer(request, PayloadQueue::maxShortage + (ReplyQueue::maxShortage / 2)));
        static_cast<void>(calls->stop());
        const bool isError = caller.answer(request).error == "System.Error.ENOMEM";
        caller.leave();
        return helper.wait_for(seconds(20)) == std::future_status::ready && isError ? 0 : 1;
    });
    if (code == 125) {
        GTEST_SKIP() << "no system call can be made to fail here";
    }
    EXPECT_EQ(code, 0);
}

TEST_F(HelperBusTest, DeniesThoughSendingTheAnswerFails)
{
    const PrivateBus secretive({.configuration = R"(<policy context="default">
                                    <deny send_destination="org.freedesktop.DBus"
                                          send_interface="org.freedesktop.DBus"
                                          send_member="GetConnectionCredentials"/></policy>)"});
    constexpr unsigned calls = 2;
    const int answer = inOwnProcess(
        [&secretive] { return firstAnswerThoughSendingFails(calls, ENOMEM, secretive.address()); });
    if (answer == 125) {
        GTEST_SKIP() << "no system call can be made to fail here";
    }
    EXPECT_EQ(answer, Denied);
}

TEST_F(HelperBusTest, EndsWhenNobodyComes)
{
    auto helper = start(milliseconds(50));
    ASSERT_TRUE(ends(helper));
    EXPECT_EQ(helper.get(), 0);
    EXPECT_EQ(m_caller.owner("com.velmora.tarnwick.helper"), "");
}

TEST_F(HelperBusTest, StaysWhenAClientComesBeforeItsPatienceEnds)
{
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    static_cast<void>(m_caller.list());
    {
        BusCaller passing(m_bus.address());
        static_cast<void>(passing.list());
    }
    EXPECT_EQ(helper.wait_for(3 * usualPatience), std::future_status::timeout);
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, StaysForAClientWhoseRequestsItRefuses)
{
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    const BusMessage unknown = m_caller.request("NoSuchMember");
    EXPECT_EQ(m_caller.answer(m_caller.send(unknown)).error,
              "org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_EQ(helper.wait_for(3 * usualPatience), std::future_status::timeout);
    m_caller.leave();
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, TurnsAwayOnlyThoseWhomTheBusWillNotWatch)
{
    m_bus.stop();
    const PrivateBus bus(
        {.configuration = R"(<limit name="max_match_rules_per_connection">2</limit>)"});
    const ScopedEnvironment environment("DBUS_SESSION_BUS_ADDRESS", bus.address());
    auto helper = start(usualPatience);
    ASSERT_TRUE(opens());
    {
        std::vector<std::unique_ptr<BusCaller>> callers;
        std::vector<std::string> errors;
        for (int at = 0; at < 4; ++at) {
            callers.push_back(std::make_unique<BusCaller>(bus.address()));
            errors.push_back(callers.back()->list().error);
        }
        EXPECT_EQ(errors.front(), "");
        EXPECT_EQ(errors.back(), "org.freedesktop.DBus.Error.AccessDenied");
        EXPECT_EQ(callers.front()->list().error, "");
    }
    EXPECT_TRUE(ends(helper));
}

TEST_F(HelperBusTest, AnswersWhatWasAskedBeforeItGaveItsNameUp)
{
    // Long enough to ask the bus and pause it first, on a busy machine too.
    constexpr seconds timeout(3);
    auto helper = start(timeout);
    ASSERT_TRUE(opens());
    // The bus reads first from whom it heard last; that must not be the helper, claiming its name.
    ASSERT_NE(m_caller.owner("com.velmora.tarnwick.helper"), "");
    m_bus.pause();
    const auto request = m_caller.askForList();
    m_caller.flush();
    // Nothing gets through the bus meanwhile: the helper's time is over, and the request before it.
    EXPECT_EQ(helper.wait_for(2 * timeout), std::future_status::timeout);
    m_bus.resume();
    EXPECT_EQ(m_caller.answer(request).payload, "[]");
    ASSERT_TRUE(ends(helper));
    EXPECT_EQ(helper.get(), 0);
}

TEST_F(HelperBusTest, LosesNoRequestWhenItLeaves)
{
    constexpr milliseconds patience(10);
    constexpr int rounds = 100;
    int answered = 0;
    for (int round = 0; round < rounds; ++round) {
        BusCaller late(m_bus.address());
        auto helper = start(patience);
        ASSERT_TRUE(opens());
        // Before, while and after it leaves, from round to round.
        static_cast<void>(helper.wait_for(patience * (round % 20) / 10));
        const BusCaller::Answer answer = late.list();
        if (answer.error != "org.freedesktop.DBus.Error.ServiceUnknown") {
            EXPECT_EQ(answer.payload, "[]") << answer.error;
            ++answered;
        }
        late.leave();
        ASSERT_TRUE(ends(helper));
        EXPECT_EQ(helper.get(), 0);
    }
    EXPECT_GT(answered, 0);
}

TEST_F(HelperBusTest, SaysSoWhenTheBusIsNotThere)
{
    m_bus.stop();
    SystemdEventLoop loop;
    HelperService service(loop, m_work);
    const HelperBus::Opened opened = HelperBus::open(loop, service);
    const auto *why = std::get_if<std::string>(&opened);
    ASSERT_NE(why, nullptr);
    EXPECT_TRUE(why->starts_with("cannot reach the session bus: ")) << *why;
}

} // namespace
} // namespace Tarnwick
