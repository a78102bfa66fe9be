// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/ScriptedHelper.h"
#include "tests/Link/ClientFixture.h"
#include "tests/Shared/SampleRecord.h"
#include "tests/Support/TemporaryCopy.h"

#include <utility>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const char *const invalidated = "[helper] XPC connection invalidated";

/// For this client, the program that plays the helper is the one that belongs to it.
class ScriptedHelperTest : public ClientFixture
{
protected:
    ScriptedHelperTest() { m_program.path = scriptedHelperProgram; }

    std::optional<Records> scanAnswered(const std::string &listing)
    {
        const ScriptedHelper helper(m_bus, listing, "silence");
        return outcome(scan());
    }

    std::optional<KillResult> killAnswered(const std::string &answer)
    {
        const ScriptedHelper helper(m_bus, "payload\t[]", answer);
        return outcome(kill(42));
    }

    /// What is logged of a call until it is lost; the helper itself goes on.
    std::vector<std::string> linesOfLostScan(const std::string &listing)
    {
        const ScriptedHelper helper(m_bus, listing, "silence");
        const Scan lost = scan();
        EXPECT_TRUE(awaitLines(1));
        EXPECT_FALSE(lost.isThere());
        return m_log.messages();
    }
};

} // namespace

TEST_F(ScriptedHelperTest, GetsOneRequestForEachCall)
{
    const ScriptedHelper helper(m_bus, "payload\t[]", "code\t1");
    EXPECT_EQ(outcome(scan()), Records());
    EXPECT_EQ(outcome(kill(42)), KillResult::Force);
    EXPECT_EQ(outcome(scan()), Records());
    EXPECT_THAT(helper.requests(),
                ElementsAre("ListListeningPorts", "KillProcess", "ListListeningPorts"));
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(ScriptedHelperTest, ListsOnceBeforeTheFirstKillsOfAConnection)
{
    const ScriptedHelper helper(m_bus, "payload\t[]", "code\t0");
    const std::vector<Kill> first{kill(42), kill(43)};
    EXPECT_EQ(outcome(first[0]), KillResult::Terminated);
    EXPECT_EQ(outcome(first[1]), KillResult::Terminated);
    EXPECT_EQ(outcome(kill(44)), KillResult::Terminated);
    EXPECT_THAT(helper.requests(),
                ElementsAre("ListListeningPorts", "KillProcess", "KillProcess", "KillProcess"));
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(ScriptedHelperTest, DoesNotKillWhereTheHelperCannotList)
{
    const ScriptedHelper helper(m_bus, "error\tSystem.Error.EMFILE\tNo", "code\t0");
    EXPECT_EQ(outcome(kill(42)), KillResult::XpcUnavailable);
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] killProcess error: No"));
    EXPECT_THAT(helper.requests(), ElementsAre("ListListeningPorts"));
}

TEST_F(ScriptedHelperTest, HandsThePayloadOn)
{
    const Records records{sampleRecord(), sampleRecord()};
    EXPECT_EQ(scanAnswered("payload\t" + RawPortInfo::encode(records)), records);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(ScriptedHelperTest, TellsAnErrorOfTheSystemByItsNumber)
{
    EXPECT_EQ(scanAnswered("error\tSystem.Error.EACCES\tNot for you"), Records());
    EXPECT_THAT(m_log.messages().at(0),
                "[helper] listListeningPorts error: Not for you domain=posix code=13");
}

TEST_F(ScriptedHelperTest, TellsAnyOtherErrorByItsName)
{
    EXPECT_EQ(scanAnswered("error\tcom.example.Odd\tOut of sorts"), Records());
    EXPECT_THAT(m_log.messages().at(0),
                "[helper] listListeningPorts error: Out of sorts domain=com.example.Odd code=0");
}

TEST_F(ScriptedHelperTest, TellsAnErrorOfTheSystemThatIsNoneByItsName)
{
    EXPECT_EQ(scanAnswered("error\tSystem.Error.EODD\tOut of sorts"), Records());
    EXPECT_THAT(m_log.messages().at(0), "[helper] listListeningPorts error: Out of sorts "
                                        "domain=System.Error.EODD code=0");
}

TEST_F(ScriptedHelperTest, TakesAnErrorOfTheBusForALostReply)
{
    EXPECT_THAT(linesOfLostScan("error\torg.freedesktop.DBus.Error.NoMemory\tToo little"),
                ElementsAre("[helper] proxy error: Too little"));
}

TEST_F(ScriptedHelperTest, KeepsTheConnectionAfterALostReply)
{
    const ScriptedHelper helper(m_bus, "payload\t[]",
                                "error\torg.freedesktop.DBus.Error.Failed\tNo");
    const Kill lost = kill(42);
    ASSERT_TRUE(awaitLines(1));
    EXPECT_EQ(outcome(scan()), Records());
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] proxy error: No"));
}

TEST_F(ScriptedHelperTest, TakesAReplyWithoutBytesForOneWithoutData)
{
    const char *const line = "[helper] listListeningPorts returned nil data";
    EXPECT_EQ(scanAnswered("payload\t"), Records());
    EXPECT_THAT(m_log.messages().at(0), line);
}

TEST_F(ScriptedHelperTest, TakesAReplyWithoutArgumentsForOneWithoutData)
{
    const char *const line = "[helper] listListeningPorts returned nil data";
    EXPECT_EQ(scanAnswered("nothing"), Records());
    EXPECT_THAT(m_log.messages().at(0), line);
}

TEST_F(ScriptedHelperTest, TakesAReplyOfAnotherTypeForOneWithoutData)
{
    const char *const line = "[helper] listListeningPorts returned nil data";
    EXPECT_EQ(scanAnswered("number"), Records());
    EXPECT_THAT(m_log.messages().at(0), line);
}

TEST_F(ScriptedHelperTest, LogsWhyAPayloadDoesNotDecode)
{
    EXPECT_EQ(scanAnswered("payload\t{}"), Records());
    const auto decoded = RawPortInfo::decode("{}");
    EXPECT_EQ(m_log.messages().at(0),
              "[helper] decode error: " +
                  std::get<RawPortInfo::DecodingError>(decoded).description());
}

TEST_F(ScriptedHelperTest, MapsTheCodesOfAKill)
{
    const std::vector<std::pair<const char *, KillResult>> table{
        {"code\t0", KillResult::Terminated},
        {"code\t3", KillResult::NotFound},
        {"code\t7", KillResult::PermissionDenied},
        {"code\t-1", KillResult::PermissionDenied}};
    for (const auto &[answer, result] : table) {
        m_client = makeClient();
        EXPECT_EQ(killAnswered(answer), result) << answer;
    }
}

TEST_F(ScriptedHelperTest, TakesAKillWithAnErrorAsUnavailable)
{
    EXPECT_EQ(killAnswered("error\tSystem.Error.EPERM\tNo"), KillResult::XpcUnavailable);
    EXPECT_THAT(m_log.messages().at(0), "[helper] killProcess error: No");
}

TEST_F(ScriptedHelperTest, LosesAKillWithoutACode)
{
    const ScriptedHelper helper(m_bus, "payload\t[]", "nothing");
    const Kill lost = kill(42);
    ASSERT_TRUE(awaitLines(1));
    EXPECT_THAT(m_log.messages(), ElementsAre(StartsWith("[helper] proxy error: ")));
    EXPECT_FALSE(lost.isThere());
}

TEST_F(ScriptedHelperTest, WaitsForAProgramThatTakesItsTimeUntilTheBusEnds)
{
    // Without a script the program takes no name.
    const Scan waiting = scan();
    EXPECT_FALSE(await([&waiting] { return waiting.isThere(); }, std::chrono::milliseconds(100)));
    EXPECT_THAT(m_log.messages(), IsEmpty());
    m_bus.stop();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, StartsWith("[helper] proxy error: ")));
    EXPECT_FALSE(waiting.isThere());
}

TEST_F(ScriptedHelperTest, AsksNothingOfAProgramThatIsNotOurs)
{
    m_program.path = HelperProcess::program();
    const ScriptedHelper other(m_bus, "payload\t[]", "code\t0");
    const Scan listing = scan();
    const Kill ending = kill(42);
    ASSERT_TRUE(awaitLines(3));
    const std::string line = "[helper] proxy error: com.velmora.tarnwick.helper belongs to "
                             "process " +
                             std::to_string(other.pid()) + " (" +
                             std::filesystem::canonical(scriptedHelperProgram).string() +
                             "), which does not run " + m_program.path.string();
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, line, line));
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());

    // What it got before this request of the test's own, it would have written down.
    EXPECT_EQ(BusCaller(m_bus.address()).kill(42).code, 0);
    EXPECT_THAT(other.requests(), ElementsAre("KillProcess"));
}

TEST_F(ScriptedHelperTest, NeitherReplacesNorAsksAStrangerWithTheHelpersFileName)
{
    const TemporaryCopy copies;
    const ScriptedHelper other(
        m_bus, "payload\t[]", "code\t0",
        copies.copy(std::exchange(m_program.path, HelperProcess::program()), "tarnwick-helper"));
    const Kill ending = kill(42);
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(invalidated,
                            StartsWith("[helper] proxy error: com.velmora.tarnwick.helper belongs "
                                       "to process " +
                                       std::to_string(other.pid()))));
    EXPECT_FALSE(ending.isThere());
    EXPECT_EQ(BusCaller(m_bus.address()).kill(42).code, 0);
    EXPECT_THAT(other.requests(), ElementsAre("KillProcess"));
}

TEST_F(ScriptedHelperTest, LogsOnceThatListingsAreOverdue)
{
    const ScriptedHelper helper(m_bus, "silence", "silence");
    const std::vector<Scan> scans{scan(), scan()};
    ASSERT_TRUE(awaitLines(1));
    EXPECT_FALSE(
        await([this] { return m_log.messages().size() > 1; }, std::chrono::milliseconds(500)));
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] a listing has not been answered for 10 s"));
}

TEST_F(ScriptedHelperTest, FindsOursWhenTheOtherProgramHasEnded)
{
    m_program.path = HelperProcess::program();
    {
        const ScriptedHelper other(m_bus, "payload\t[]", "code\t0");
        const Scan lost = scan();
        ASSERT_TRUE(awaitLines(2));
    }
    ASSERT_TRUE(BusCaller(m_bus.address()).awaitNoHelper());
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_EQ(m_log.messages().size(), 2U);
}
