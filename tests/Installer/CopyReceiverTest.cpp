// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"

#include "Installer/PipeReader.h"
#include "Installer/Subprocess.h"
#include "Shared/WriteAll.h"
#include "tests/Installer/InstallFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::StartsWith;

/// What the privileged half does with whatever it is sent: the other half may be anybody's.
class CopyReceiverTest : public InstallFixture
{
protected:
    CopyReceiverTest() { static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); }

    /// Sends @p text, then the end, and gives the status.
    int receive(const std::string &text) { return receiveFor("copy", text); }

    int receiveFor(const std::string &name, const std::string &text)
    {
        std::optional<Subprocess> receiver =
            Subprocess::start({installProgram, "--receive", m_applications, name}, m_errors.get());
        static_cast<void>(writeAll(receiver->input().get(), text));
        receiver->input().reset();
        return receiver->awaitEnd().status;
    }

    FileDescriptor m_errors{
        ::open((m_folder.path() / "errors").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600)};
};

const std::string start = "tarnwick-copy 1\n";
const std::string file = "5 755 bin/tarnwick\nhello";

TEST_F(CopyReceiverTest, InstallsWhatIsCommitted)
{
    EXPECT_EQ(receive(start + file + "complete\ncommit\n"), 0);
    EXPECT_EQ(read(m_applications / "copy" / "bin" / "tarnwick"), "hello");
}

TEST_F(CopyReceiverTest, LeavesNothingOfWhatIsNotCommitted)
{
    for (const std::string &text :
         {std::string(), start, start + "5 755 bin/tarnwick\nhel", start + file,
          start + file + "complete\n", start + file + "complete\ncommi", start + file + "commit\n",
          start + file + "complete\nabort\n", file + "complete\ncommit\n",
          "tarnwick-copy 2\n" + file + "complete\ncommit\n"}) {
        EXPECT_EQ(receive(text), 1) << text;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << text;
    }
}

TEST_F(CopyReceiverTest, WritesNothingOutsideOfTheCopy)
{
    for (const char *const header :
         {"5 755 ../evil", "5 755 /tmp/evil", "5 755 a/../../evil", "5 4755 evil", "-5 755 evil",
          "5  755 evil", "99999999999999999999 755 evil", "18446744073709551615 755 evil",
          "5 755 .tarnwick-portable", "5 755 ", "x", ""}) {
        EXPECT_EQ(receive(start + file + header + "\nhellocomplete\ncommit\n"), 1) << header;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << header;
    }
    EXPECT_EQ(receive(start + std::string(1024UL * 1024UL, 'x')), 1);
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, WritesNoFileTwice)
{
    for (const char *const second :
         {"5 755 bin/tarnwick\nhello", "5 755 bin/tarnwick/x\nhello", "5 755 bin\nhello"}) {
        EXPECT_EQ(receive(start + file + second + "complete\ncommit\n"), 1) << second;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << second;
    }
}

TEST_F(CopyReceiverTest, HasNoPlaceOutsideOfTheFolderForApplications)
{
    for (const char *const name : {"", ".", "..", "../copy", "a/b", "/copy", ".tarnwick-abcdef"}) {
        EXPECT_EQ(receiveFor(name, start + file + "complete\ncommit\n"), 1) << name;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << name;
    }
}

TEST_F(CopyReceiverTest, SeesWhatCameIntoThePlaceMeanwhile)
{
    std::optional<Subprocess> receiver =
        Subprocess::start({installProgram, "--receive", m_applications, "copy"}, m_errors.get());
    ASSERT_TRUE(writeAll(receiver->input().get(), start + file + "complete\n"));
    PipeReader answers(receiver->output().get());
    EXPECT_THAT(answers.line().value_or(""), StartsWith(".tarnwick-"));
    write(m_applications / "copy" / "strange", "strange\n");
    ASSERT_TRUE(writeAll(receiver->input().get(), "commit\n"));
    EXPECT_EQ(receiver->awaitEnd().status, 1);
    EXPECT_EQ(contents(m_applications).size(), 2U);
    EXPECT_EQ(read(m_applications / "copy" / "strange"), "strange\n");
}

TEST_F(CopyReceiverTest, UndoesEverythingWhenTheOtherHalfDies)
{
    pkexec("\"$@\"; echo $? > '" + (m_folder.path() / "ended.part").string() + "'; mv '" +
           (m_folder.path() / "ended.part").string() + "' '" +
           (m_folder.path() / "ended").string() + "'\n");
    const fs::path trial = m_folder.path() / "trial";
    write(m_source / "bin" / "tarnwick",
          "#!/bin/sh\ntouch '" + trial.string() + "'; exec sleep 600\n", 0755);
    const auto awaitFile = [](const fs::path &path) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!fs::exists(path) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return fs::exists(path);
    };
    {
        ChildProcess sender(
            {installProgram, m_source, m_applications, "bin/tarnwick"},
            {.output = {},
             .environment = {"PATH=" + (m_folder.path() / "bin").string() + ":/usr/bin:/bin"}});
        ASSERT_TRUE(awaitFile(trial));
        sender.signal(SIGTERM);
    }
    ASSERT_TRUE(awaitFile(m_folder.path() / "ended"));
    EXPECT_EQ(read(m_folder.path() / "ended"), "1\n");
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

} // namespace
} // namespace Tarnwick
