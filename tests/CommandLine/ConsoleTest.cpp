// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Console.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gtest/gtest.h>

namespace Tarnwick {

TEST(Console, SaysALineToTheErrors)
{
    TestConsole test;
    test.console.say("Nothing is listening.");
    EXPECT_EQ(test.errors.written, "Nothing is listening.\n");
    EXPECT_EQ(test.output.written, "");
}

TEST(Console, SaysWhoseErrorItIs)
{
    TestConsole test;
    test.console.sayError("no such thing");
    EXPECT_EQ(test.errors.written, "tarnwickctl: no such thing\n");
}

TEST(Console, KeepsTheCodeWhenTheOutputIsWritten)
{
    TestConsole test;
    EXPECT_EQ(test.console.finish("text", ExitCode::NothingDone), ExitCode::NothingDone);
    EXPECT_EQ(test.output.written, "text");
}

TEST(Console, FailsWithAMessageWhenTheDiskIsFull)
{
    TestConsole test;
    test.output.error = std::make_error_code(std::errc::no_space_on_device);
    EXPECT_EQ(test.console.finish("text", ExitCode::Done), ExitCode::Failed);
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: Cannot write the output: No space left on device\n");
}

TEST(Console, IsQuietAboutAReaderThatHasGone)
{
    TestConsole test;
    test.output.error = std::make_error_code(std::errc::broken_pipe);
    EXPECT_EQ(test.console.finish("text", ExitCode::Done), ExitCode::Done);
    EXPECT_EQ(test.errors.written, "");
}

} // namespace Tarnwick
