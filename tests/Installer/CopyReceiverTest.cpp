// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"

#include "Installer/PipeReader.h"
#include "Shared/Subprocess.h"
#include "Shared/WriteAll.h"
#include "tests/Installer/InstallFixture.h"
#include "tests/Installer/MountedFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
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
            Subprocess::start(command(name), {.errors = m_errors.get()});
        static_cast<void>(writeAll(receiver->input().get(), text));
        receiver->input().reset();
        m_replies.clear();
        PipeReader replies(receiver->output().get());
        while (const std::optional<std::string> line = replies.line()) {
            m_replies.push_back(*line);
        }
        const Subprocess::End end = receiver->awaitEnd();
        EXPECT_EQ(end.how, Subprocess::End::How::Exited);
        return end.status;
    }

    [[nodiscard]] std::vector<std::string> command(const std::string &name) const
    {
        std::vector<std::string> words = m_launcher;
        for (const std::string &word : {std::string(installProgram), std::string("--receive"),
                                        m_applications.string(), name}) {
            words.push_back(word);
        }
        return words;
    }

    /// A receiver that has everything but the line `commit`.
    std::optional<Subprocess> startReceiver(std::string &temporaryName)
    {
        std::optional<Subprocess> receiver =
            Subprocess::start(command("copy"), {.errors = m_errors.get()});
        if (receiver && writeAll(receiver->input().get(), begin + file + "complete\n") > 0) {
            temporaryName = PipeReader(receiver->output().get()).line().value_or("");
        }
        return receiver;
    }

    /// The reason that the receiver sent last.
    [[nodiscard]] std::string reason() const
    {
        const std::string prefix = "failed ";
        return !m_replies.empty() && m_replies.back().starts_with(prefix)
                   ? m_replies.back().substr(prefix.size())
                   : std::string();
    }

    const std::string begin = "tarnwick-copy 1\n";
    const std::string file = "5 755 bin/tarnwick\nhello";
    std::vector<std::string> m_replies;

    FileDescriptor m_errors{
        ::open((m_folder.path() / "errors").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600)};
};

TEST_F(CopyReceiverTest, InstallsWhatIsCommitted)
{
    EXPECT_EQ(receive(begin + file + "complete\ncommit\n"), 0);
    EXPECT_EQ(read(m_applications / "copy" / "bin" / "tarnwick"), "hello");
}

TEST_F(CopyReceiverTest, LeavesNothingOfWhatIsNotCommitted)
{
    for (const std::string &text :
         {std::string(), begin, begin + "5 755 bin/tarnwick\nhel", begin + file,
          begin + file + "complete\n", begin + file + "complete\ncommi", begin + file + "commit\n",
          begin + file + "complete\nabort\n", file + "complete\ncommit\n",
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
        EXPECT_EQ(receive(begin + file + header + "\nhellocomplete\ncommit\n"), 1) << header;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << header;
    }
    EXPECT_EQ(receive(begin + std::string(1024UL * 1024UL, 'x')), 1);
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, WritesNoFileTwice)
{
    for (const char *const second :
         {"5 755 bin/tarnwick\nhello", "5 755 bin/tarnwick/x\nhello", "5 755 bin\nhello"}) {
        EXPECT_EQ(receive(begin + file + second + "complete\ncommit\n"), 1) << second;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << second;
    }
}

TEST_F(CopyReceiverTest, HasNoPlaceOutsideOfTheFolderForApplications)
{
    for (const char *const name : {"", ".", "..", "../copy", "a/b", "/copy", ".tarnwick-abcdef"}) {
        EXPECT_EQ(receiveFor(name, begin + file + "complete\ncommit\n"), 1) << name;
        EXPECT_THAT(contents(m_applications), IsEmpty()) << name;
    }
}

TEST_F(CopyReceiverTest, SeesWhatCameIntoThePlaceMeanwhile)
{
    std::string temporaryName;
    std::optional<Subprocess> receiver = startReceiver(temporaryName);
    EXPECT_THAT(temporaryName, StartsWith(".tarnwick-"));
    write(m_applications / "copy" / "strange", "strange\n");
    ASSERT_TRUE(writeAll(receiver->input().get(), "commit\n"));
    EXPECT_EQ(receiver->awaitEnd().status, 1);
    EXPECT_EQ(contents(m_applications).size(), 2U);
    EXPECT_EQ(read(m_applications / "copy" / "strange"), "strange\n");
}

TEST_F(CopyReceiverTest, GivesItsPlaceToNoOtherFolder)
{
    std::string temporaryName;
    std::optional<Subprocess> receiver = startReceiver(temporaryName);
    const fs::path temporary = m_applications / temporaryName;
    fs::rename(temporary, m_folder.path() / "moved");
    write(temporary / "bin" / "tarnwick", "strange\n");
    ASSERT_TRUE(writeAll(receiver->input().get(), "commit\n"));
    EXPECT_EQ(PipeReader(receiver->output().get()).line(),
              "failed " + m_applications.string() +
                  ": another folder is in the place of the new copy");
    EXPECT_EQ(receiver->awaitEnd().status, 1);
    EXPECT_FALSE(fs::exists(m_applications / "copy"));
    EXPECT_EQ(read(temporary / "bin" / "tarnwick"), "strange\n");
}

TEST_F(CopyReceiverTest, SaysWhyNothingWasInstalled)
{
    EXPECT_EQ(receive(begin + "9999999999 644 large\n"), 1);
    EXPECT_EQ(reason(), "the copy has more than 4294967296 bytes");
    EXPECT_EQ(receive(begin + file), 1);
    EXPECT_EQ(reason(), "the other process ended too early");
    EXPECT_EQ(receive("letter\n"), 1);
    EXPECT_EQ(reason(), "the other process has sent something else than a copy");
    EXPECT_EQ(receive(begin + file + "0 644 " + std::string(20'000, 'a') + '\n'), 1);
    EXPECT_EQ(reason(), "the other process sent a line of more than 16384 bytes");
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, SaysThatTheOtherProcessIsSilent)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor input(ends[0]);
    const FileDescriptor silent(ends[1]);
    {
        CopyReceiver receiver(m_applications, "copy", std::chrono::milliseconds(20));
        EXPECT_EQ(receiver.receive(input.get(), m_errors.get()),
                  "the other process sent nothing for 20 ms");
    }
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, ReceivesAListOfABoundedLength)
{
    std::string text = begin;
    const std::string folders = std::string(250, 'a') + '/';
    std::string path = folders;
    for (int count = 0; count < 14; ++count) {
        path += folders;
    }
    for (std::size_t count = 0; count < 2UL * 1024 * 1024 / path.size() + 1; ++count) {
        text += "0 644 " + path + std::to_string(count) + '\n';
    }
    EXPECT_EQ(receive(text + "complete\ncommit\n"), 1);
    EXPECT_EQ(reason(), "the list of the copy's files has more than 2097152 bytes");
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, FailsOnAFullDisk)
{
    const MountedFolder mount(m_applications, "size=128k,mode=755");
    if (!mount) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    // A little too much, so that the last write takes a part.
    const std::string notes(130'000, 'x');
    EXPECT_EQ(receive(begin + file + std::to_string(notes.size()) + " 644 notes\n" + notes +
                      "complete\ncommit\n"),
              1);
    EXPECT_EQ(reason(), (m_applications / "copy" / "notes").string() + ": No space left on device");
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, FailsBeyondALimitForFiles)
{
    m_launcher = {"prlimit", "--fsize=70000", "--"};
    const std::string notes(70'001, 'x');
    EXPECT_EQ(receive(begin + std::to_string(notes.size()) + " 644 notes\n" + notes +
                      "complete\ncommit\n"),
              1);
    EXPECT_EQ(reason(), (m_applications / "copy" / "notes").string() + ": File too large");
    EXPECT_THAT(contents(m_applications), IsEmpty());
}

TEST_F(CopyReceiverTest, OutlivesSignalsOfTerminalsTimersAndLimits)
{
    std::string temporaryName;
    std::optional<Subprocess> receiver = startReceiver(temporaryName);
    ASSERT_TRUE(receiver);
    ASSERT_GT(receiver->pid(), 1);
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2,
                             SIGTSTP, SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF}) {
        ASSERT_EQ(::kill(receiver->pid(), number), 0);
    }
    ASSERT_TRUE(writeAll(receiver->input().get(), "commit\n"));
    EXPECT_TRUE(receiver->awaitEnd().isSuccess());
    EXPECT_EQ(read(m_applications / "copy" / "bin" / "tarnwick"), "hello");
}

TEST_F(CopyReceiverTest, WorksInTheRootDirectory)
{
    std::string temporaryName;
    const std::optional<Subprocess> receiver = startReceiver(temporaryName);
    ASSERT_TRUE(receiver);
    ASSERT_THAT(temporaryName, StartsWith(".tarnwick-"));
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(receiver->pid()) + "/cwd"), "/");
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
