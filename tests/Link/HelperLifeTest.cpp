// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/FileDescriptor.h"
#include "Shared/Version.h"
#include "tests/Link/HelperFixture.h"
#include "tests/Support/HelperProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = BusCaller::Clock;

/// When the helper is there, and when it ends.
class HelperLife : public HelperFixture
{
protected:
    void TearDown() override {}

    /// What a helper says that does not get the name.
    [[nodiscard]] static std::string takenBy(pid_t pid, const std::filesystem::path &program)
    {
        return "tarnwick-helper: com.velmora.tarnwick.helper is taken by another process: " +
               std::to_string(pid) + " (" + program.string() + ")\n";
    }

    /// Whether @p owner, a unique name, comes to have the helper's name no more.
    [[nodiscard]] bool becomesReplaced(const std::string &owner) const
    {
        const auto deadline = Clock::now() + seconds(20);
        while (m_caller.owner("com.velmora.tarnwick.helper") == owner) {
            if (Clock::now() > deadline) {
                return false;
            }
            ::poll(nullptr, 0, 2);
        }
        return true;
    }
};

TEST_F(HelperLife, EndsThirtySecondsAfterItsLastClientHasLeft)
{
    BusCaller watcher(m_bus.address());
    static_cast<void>(m_caller.list());
    {
        BusCaller another(m_bus.address());
        static_cast<void>(another.list());
    }
    EXPECT_FALSE(m_helper.awaitEnd(seconds(2)).has_value());
    m_caller.leave();
    const auto left = Clock::now();
    ASSERT_TRUE(watcher.awaitNoHelper(seconds(40)));
    EXPECT_EQ(m_helper.awaitEnd(seconds(5)), 0) << m_helper.output();
    EXPECT_GE(Clock::now() - left, seconds(29));
    EXPECT_LE(Clock::now() - left, seconds(33));
    EXPECT_EQ(m_helper.output(), "");
}

TEST_F(HelperLife, StaysAsLongAsAClientDoes)
{
    static_cast<void>(m_caller.list());
    EXPECT_FALSE(m_helper.awaitEnd(seconds(34)).has_value());
    EXPECT_TRUE(m_caller.list().records().has_value());
}

TEST_F(HelperLife, EndsThirtySecondsAfterItsStartWhereNobodyAsks)
{
    EXPECT_FALSE(m_helper.awaitEnd(seconds(25)).has_value());
    EXPECT_EQ(m_helper.awaitEnd(seconds(10)), 0) << m_helper.output();
}

TEST_F(HelperLife, LeavesItsPlaceToTheOneThatWasFirst)
{
    HelperProcess second(m_bus);
    EXPECT_EQ(second.awaitEnd(seconds(10)), 1);
    EXPECT_EQ(second.output(),
              takenBy(m_helper.pid(), std::filesystem::canonical(HelperProcess::program())));
    EXPECT_TRUE(m_caller.list().records().has_value());
}

TEST_F(HelperLife, NamesTheProcessThatDoesNotAllowToBeReplaced)
{
    // Helpers allow it.
    ASSERT_GE(sd_bus_request_name(m_caller.bus(), "com.velmora.tarnwick.helper",
                                  SD_BUS_NAME_REPLACE_EXISTING),
              0);
    HelperProcess second(m_bus, {"--replace"});
    EXPECT_EQ(second.awaitEnd(seconds(10)), 1);
    EXPECT_EQ(second.output(),
              takenBy(::getpid(), std::filesystem::read_symlink("/proc/self/exe")));
}

TEST_F(HelperLife, EndsAtOnceWhenItIsReplacedAndHasNoClient)
{
    const HelperProcess second(m_bus, {"--replace"});
    EXPECT_EQ(m_helper.awaitEnd(seconds(10)), 0) << m_helper.output();
    EXPECT_TRUE(m_caller.list().records().has_value()) << second.output();
}

TEST_F(HelperLife, ServesItsClientsThoughItIsReplaced)
{
    const std::string first = m_caller.owner("com.velmora.tarnwick.helper");
    static_cast<void>(m_caller.list());
    const HelperProcess second(m_bus, {"--replace"});
    ASSERT_TRUE(becomesReplaced(first));
    EXPECT_TRUE(m_caller.answer(m_caller.askForList(first)).records().has_value());
    EXPECT_FALSE(m_helper.hasEnded());
    m_caller.leave();
    EXPECT_EQ(m_helper.awaitEnd(seconds(10)), 0) << m_helper.output();
}

TEST_F(HelperLife, FinishesAKillBeforeItEnds)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    static_cast<void>(m_caller.list());
    m_caller.askToKill(server.pid());
    static_cast<void>(m_caller.list()); // the kill was received before
    m_caller.leave();
    const HelperProcess second(m_bus, {"--replace"});
    EXPECT_EQ(m_helper.awaitEnd(seconds(20)), 0) << m_helper.output();
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(HelperLife, SaysItsVersion)
{
    char *told = nullptr;
    ASSERT_GE(sd_bus_get_property_string(m_caller.bus(), "com.velmora.tarnwick.helper",
                                         "/com/velmora/tarnwick/helper",
                                         "com.velmora.tarnwick.helper", "Version", nullptr, &told),
              0);
    const std::unique_ptr<char, decltype(&std::free)> text(told, &std::free);
    EXPECT_EQ(text.get(), version);
}

TEST_F(HelperLife, SaysWhyItCannotStartWithoutABus)
{
    m_bus.stop();
    HelperProcess lost(m_bus);
    EXPECT_EQ(lost.awaitEnd(seconds(10)), 1);
    EXPECT_EQ(lost.output(),
              "tarnwick-helper: cannot reach the session bus: No such file or directory\n");
}

TEST_F(HelperLife, EndsThoughNobodyReadsWhatItWrites)
{
    const TemporaryFolder folder;
    const std::filesystem::path pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    const FileDescriptor end(::open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const std::string part(PIPE_BUF, 'x');
    while (::write(end.get(), part.data(), part.size()) > 0) {
    }
    ASSERT_EQ(errno, EAGAIN);
    m_bus.stop();
    ChildProcess lost({HelperProcess::program().string()},
                      {.output = pipe, .environment = m_bus.environment()});
    EXPECT_EQ(lost.awaitEnd(seconds(10)), 1);
}

TEST_F(HelperLife, EndsWhenTheBusGoes)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    static_cast<void>(m_caller.list());
    m_caller.askToKill(server.pid());
    m_caller.flush();
    m_bus.stop();
    const auto status = m_helper.awaitEnd(seconds(10));
    ASSERT_TRUE(status.has_value());
    EXPECT_EQ(*status, 1);
    EXPECT_EQ(m_helper.output(), "tarnwick-helper: the connection to the session bus has ended\n");
}

TEST_F(HelperLife, IsThereAgainWhenTheBusIs)
{
    m_bus.stop();
    ASSERT_TRUE(m_helper.awaitEnd(seconds(10)).has_value());
    m_bus.start();
    const HelperProcess next(m_bus);
    BusCaller caller(m_bus.address());
    ASSERT_TRUE(caller.awaitHelper()) << next.output();
    EXPECT_TRUE(caller.list().records().has_value());
}

TEST_F(HelperLife, GivesItsNameBackWhenItIsKilled)
{
    m_helper.signal(SIGKILL);
    EXPECT_TRUE(m_caller.awaitNoHelper());
    const HelperProcess next(m_bus);
    EXPECT_TRUE(m_caller.awaitHelper());
    EXPECT_TRUE(m_caller.list().records().has_value());
}

TEST_F(HelperLife, TakesAtMostFourMegabytesWhenIdle)
{
    if (isSanitized) {
        GTEST_SKIP() << "a sanitizer takes memory of its own";
    }
    for (int times = 0; times < 20; ++times) {
        static_cast<void>(m_caller.list());
    }
    RecordProperty("resident_kB", std::to_string(m_helper.residentMemory()));
    EXPECT_LE(m_helper.residentMemory(), 4096U) << "kB";
}

} // namespace
} // namespace Tarnwick
