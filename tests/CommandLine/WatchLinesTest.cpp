// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchLines.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct WatchLinesTest : testing::Test
{
    TestConsole test;
    WatchLines text{test.console, WatchLines::Format::Text};
    WatchLines json{test.console, WatchLines::Format::Json};

    std::string linesFor(WatchLines &view, std::vector<RawPortInfo> records)
    {
        test.output.written.clear();
        EXPECT_FALSE(view.show(listenersFrom(std::move(records))));
        return test.output.written;
    }
};

} // namespace

TEST_F(WatchLinesTest, BeginWithWhatIsThereInTheOrderOfPorts)
{
    EXPECT_EQ(linesFor(text, {record(3000, 4711, "node"), systemRecord(22, 1, "sshd")}),
              "+ :22 sshd 1\n+ :3000 node 4711\n");
}

TEST_F(WatchLinesTest, TellWhatHasGoneAndThenWhatIsNew)
{
    linesFor(text, {record(80, 1, "a"), record(81, 2, "b"), record(82, 3, "c")});
    EXPECT_EQ(linesFor(text, {record(79, 9, "d"), record(81, 2, "b"), record(82, 4, "c")}),
              "- :80 a 1\n- :82 c 3\n+ :79 d 9\n+ :82 c 4\n");
}

TEST_F(WatchLinesTest, AreSilentWhenNothingChangesButMemory)
{
    linesFor(text, {record(80, 1, "a")});
    RawPortInfo grown = record(80, 1, "a");
    grown.memoryBytes *= 2;
    EXPECT_EQ(linesFor(text, {grown}), "");
}

TEST_F(WatchLinesTest, ShowADashForAnUnknownOwner)
{
    EXPECT_EQ(linesFor(text, {record(111, 0, "rpcbind.socket")}), "+ :111 rpcbind.socket -\n");
}

TEST_F(WatchLinesTest, ShowAHostileNameOnOneLine)
{
    EXPECT_EQ(linesFor(text, {record(80, 1, "a\n- :22 sshd\x1b[A")}),
              "+ :80 a^J- :22 sshd^[[A 1\n");
}

TEST_F(WatchLinesTest, AreTimedObjectsInJson)
{
    EXPECT_THAT(
        linesFor(json, {record(80, 1, "a")}),
        StartsWith(R"({"time":"1970-02-11T16:00:00.000Z","change":"opened","pid":1,"port":80,)"));
    EXPECT_THAT(
        linesFor(json, {}),
        StartsWith(R"({"time":"1970-02-11T16:00:00.000Z","change":"closed","pid":1,"port":80,)"));
}

TEST_F(WatchLinesTest, TellOfFailuresInARowOnce)
{
    EXPECT_FALSE(text.showFailure("no sockets"));
    EXPECT_FALSE(text.showFailure("no sockets"));
    EXPECT_EQ(test.errors.written, "tarnwickctl: no sockets\n");
    linesFor(text, {});
    EXPECT_FALSE(text.showFailure("again"));
    EXPECT_THAT(test.errors.written, HasSubstr("tarnwickctl: again\n"));
}

TEST_F(WatchLinesTest, DoNotTakeAFailureForAnEmptyListing)
{
    linesFor(text, {record(80, 1, "a")});
    EXPECT_FALSE(text.showFailure("no sockets"));
    EXPECT_EQ(linesFor(text, {record(80, 1, "a")}), "");
}

TEST_F(WatchLinesTest, PassOnWhatTheOutputSays)
{
    test.output.error = std::make_error_code(std::errc::broken_pipe);
    EXPECT_EQ(text.show(listenersFrom({record(80, 1, "a")})), std::errc::broken_pipe);
}

} // namespace Tarnwick
