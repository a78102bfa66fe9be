// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/Leftovers.h"

#include "Installer/FilesBelow.h"
#include "Installer/PipeReader.h"
#include "Shared/Subprocess.h"
#include "Shared/WriteAll.h"
#include "tests/Installer/InstallFixture.h"
#include "tests/Installer/MountedFolder.h"
#include "tests/Installer/WithoutRenameFlags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Key;
using testing::Pair;

/// What an installation does with what earlier ones have left.
class LeftoversTest : public InstallFixture
{
protected:
    /// A privileged half that was killed once it had written all of @p text, or what there is of
    /// its last file.
    void killReceiverAfter(const std::string &text)
    {
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        std::optional<Subprocess> receiver =
            Subprocess::start({installProgram, "--receive", m_applications, m_target.filename()});
        ASSERT_TRUE(receiver);
        ASSERT_GT(receiver->pid(), 1);
        ASSERT_EQ(writeAll(receiver->input().get(), text), text.size());
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!isWritten("hel") && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_TRUE(isWritten("hel"));
        ASSERT_EQ(::kill(receiver->pid(), SIGKILL), 0);
        ASSERT_EQ(receiver->awaitEnd().how, Subprocess::End::How::Signalled);
    }

    [[nodiscard]] bool isWritten(const std::string &begin) const
    {
        const Contents all = contents(m_applications);
        return std::any_of(all.begin(), all.end(), [&begin](const auto &entry) {
            return entry.first.ends_with("/first") && entry.second.find(begin) != std::string::npos;
        });
    }

    /// A folder in the folder for applications that looks like what an installation has left.
    [[nodiscard]] fs::path makeLeftover(const std::string &name) const
    {
        fs::path leftover = m_applications / name;
        write(leftover / "bin" / "tarnwick", "older\n", 0755);
        write(leftover / ".tarnwick-portable", "tarnwick-portable 1\n755 bin/tarnwick\n");
        return leftover;
    }

    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto &entry : fs::directory_iterator(m_applications)) {
            found.push_back(entry.path().filename());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    const std::string m_first = "tarnwick-copy 1\n5 644 deep/er/first\nhello";
    const std::string m_aside = ".tarnwick-aside-" + m_target.filename().string() + "-abc012";
};

TEST_F(LeftoversTest, OfAnInstallationThatWasKilledAreRemovedByTheNextOne)
{
    const std::vector<std::string> texts = {m_first, m_first.substr(0, m_first.size() - 2),
                                            m_first + "9 755 bin/second\nhel",
                                            m_first + "complete\n"};
    for (const std::string &text : texts) {
        killReceiverAfter(text);
        ASSERT_EQ(names().size(), 1U);
        EXPECT_EQ(install(), 0) << m_said;
        EXPECT_EQ(m_said, "");
        EXPECT_THAT(names(), ElementsAre(m_target.filename()));
        fs::remove_all(m_target);
    }
}

TEST_F(LeftoversTest, AreRemovedAlsoWhenNothingIsInstalled)
{
    killReceiverAfter(m_first);
    write(m_source / "bin" / "tarnwick", programText("exit 3\n"), 0755);
    EXPECT_EQ(install(), 1);
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(LeftoversTest, ThatAreEmptyAreRemoved)
{
    fs::create_directory(m_applications / ".tarnwick-abc012");
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_THAT(names(), ElementsAre(m_target.filename()));
}

TEST_F(LeftoversTest, KeepWhatAReplacedCopyDidNotList)
{
    const fs::path leftover = makeLeftover(".tarnwick-abc012");
    write(leftover / "mine", "dear\n");
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_THAT(m_said, HasSubstr("files that the older copy does not list are kept in "));
    ASSERT_EQ(names().size(), 2U);
    EXPECT_THAT(names().back(), HasSubstr(".old-"));
    EXPECT_THAT(contents(m_applications / names().back()),
                ElementsAre(Pair("mine", EndsWith(" dear\n"))));
}

TEST_F(LeftoversTest, AreNoFoldersOfOthers)
{
    for (const char *const name :
         {".tarnwick-abc01", ".tarnwick-abc0123", ".tarnwick-ABC012", ".tarnwick-abc-12",
          ".tarnwick-abc789", "tarnwick-abc012", ".tarnwick-", ".tarnwick-aside-other",
          ".tarnwick-aside-other-abc012", ".tarnwick-aside-Tarn'wick copy",
          ".tarnwick-aside-Tarn'wick copy-abc0123", ".tarnwick-aside-Tarn'wick copy-more-abc012"}) {
        static_cast<void>(makeLeftover(name));
    }
    write(m_applications / ".tarnwick-nomark" / "letter", "dear\n");
    write(m_applications / ".tarnwick-nomar1" / "letter", "dear\n");
    write(m_applications / ".tarnwick-nomar2", "a file\n");
    write(m_applications / ".tarnwick-nomar3" / ".tarnwick-portable" / "letter", "dear\n");
    static_cast<void>(makeLeftover("elsewhere"));
    fs::create_directory_symlink("elsewhere", m_applications / ".tarnwick-link00");
    fs::create_directory(m_applications / ".tarnwick-link01");
    fs::create_symlink("../elsewhere/.tarnwick-portable",
                       m_applications / ".tarnwick-link01" / ".tarnwick-portable");
    fs::permissions(makeLeftover(".tarnwick-shared"), fs::perms(0777));
    const Contents before = contents(m_applications);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    fs::remove_all(m_target);
    EXPECT_EQ(contents(m_applications), before);
}

TEST_F(LeftoversTest, AreNoFoldersOfAnotherUser)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root gives files away";
    }
    constexpr uid_t other = 65534;
    const fs::path folder = makeLeftover(".tarnwick-abc012");
    ASSERT_EQ(::chown(folder.c_str(), other, other), 0);
    const fs::path marker = makeLeftover(".tarnwick-abc013") / ".tarnwick-portable";
    ASSERT_EQ(::chown(marker.c_str(), other, other), 0);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_TRUE(fs::exists(folder / "bin" / "tarnwick"));
    EXPECT_TRUE(fs::exists(marker.parent_path() / "bin" / "tarnwick"));
}

TEST_F(LeftoversTest, AreNotInUse)
{
    const fs::path leftover = makeLeftover(".tarnwick-abc012");
    const FileDescriptor inUse(::open(leftover.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(inUse.get(), LOCK_EX), 0);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_TRUE(fs::exists(leftover / "bin" / "tarnwick"));
    ASSERT_EQ(::flock(inUse.get(), LOCK_UN), 0);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_FALSE(fs::exists(leftover));
}

TEST_F(LeftoversTest, OfAnInstallationThatRunsAreLeftAlone)
{
    std::optional<Subprocess> receiver =
        Subprocess::start({installProgram, "--receive", m_applications, "other"});
    ASSERT_TRUE(receiver);
    ASSERT_TRUE(writeAll(receiver->input().get(), m_first + "complete\n"));
    PipeReader replies(receiver->output().get());
    const std::string name = replies.line().value_or("");
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_TRUE(fs::exists(m_applications / name / "deep" / "er" / "first"));
    ASSERT_TRUE(writeAll(receiver->input().get(), "commit\n"));
    EXPECT_TRUE(receiver->awaitEnd().isSuccess());
    EXPECT_EQ(read(m_applications / "other" / "deep" / "er" / "first"), "hello");
}

TEST_F(LeftoversTest, LieOnTheSameFileSystem)
{
    const fs::path place = m_applications / ".tarnwick-abc012";
    fs::create_directory(place);
    const MountedFolder mount(place, "mode=755");
    if (!mount) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    static_cast<void>(makeLeftover(".tarnwick-abc012"));
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_TRUE(fs::exists(place / "bin" / "tarnwick"));
}

TEST_F(LeftoversTest, ThatWereSetAsideReturnToTheirPlace)
{
    haveOlderCopy();
    const Contents older = contents(m_target);
    fs::rename(m_target, m_applications / m_aside);
    static_cast<void>(makeLeftover(".tarnwick-abc012")); // which was to be the new one
    write(m_source / "bin" / "tarnwick", programText("exit 3\n"), 0755);
    EXPECT_EQ(install(), 1);
    EXPECT_EQ(contents(m_target), older);
    EXPECT_THAT(names(), ElementsAre(m_target.filename()));
}

TEST_F(LeftoversTest, ThatWereSetAsideStayWhereTheirPlaceIsNoCopys)
{
    haveOlderCopy();
    const Contents older = contents(m_target);
    fs::rename(m_target, m_applications / m_aside);
    write(m_target, "of somebody else");
    std::optional<Subprocess> receiver =
        Subprocess::start({installProgram, "--receive", m_applications, m_target.filename()});
    ASSERT_TRUE(receiver);
    receiver->input().reset();
    EXPECT_FALSE(receiver->awaitEnd().isSuccess());
    EXPECT_EQ(read(m_target), "of somebody else");
    EXPECT_EQ(contents(m_applications / m_aside), older);
}

TEST_F(LeftoversTest, ThatWereSetAsideAndReplacedAreRemoved)
{
    haveOlderCopy();
    fs::rename(m_target, m_applications / m_aside);
    haveOlderCopy();
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_THAT(names(), ElementsAre(m_target.filename()));
}

TEST_F(LeftoversTest, AreNoneOfAnExchangeInTwoSteps)
{
    haveOlderCopy();
    const std::string text = m_first + "5 755 bin/tarnwick\nhello" +
                             "complete\n"
                             "commit\n";
    std::optional<Subprocess::End> end;
    const bool isPossible = withoutRenameFlags(MissingFlags::All, [&] {
        std::optional<Subprocess> receiver =
            Subprocess::start({installProgram, "--receive", m_applications, m_target.filename()});
        if (receiver && writeAll(receiver->input().get(), text) == text.size()) {
            end = receiver->awaitEnd();
        }
    });
    if (!isPossible) {
        GTEST_SKIP() << "the system filters no system calls";
    }
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->isSuccess());
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), "hello");
    EXPECT_THAT(names(), ElementsAre(m_target.filename()));
}

TEST_F(LeftoversTest, OfOthersBlockNoExchangeInTwoSteps)
{
    const fs::path taken = m_applications / (".tarnwick-aside-" + m_target.filename().string());
    for (const MissingFlags missing : {MissingFlags::All, MissingFlags::Exchange}) {
        for (const bool isEmpty : {true, false}) {
            haveOlderCopy();
            fs::create_directory(taken);
            if (!isEmpty) {
                write(taken / "letter", "dear\n");
            }
            const Contents before = contents(taken);
            std::optional<int> status;
            if (!withoutRenameFlags(missing, [&] { status = install(); })) {
                GTEST_SKIP() << "the system filters no system calls";
            }
            EXPECT_EQ(status, 0) << m_said;
            EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
            EXPECT_THAT(names(), ElementsAre(taken.filename(), m_target.filename()));
            EXPECT_EQ(contents(taken), before);
            fs::remove_all(taken);
            fs::remove_all(m_target);
        }
    }
}

TEST_F(LeftoversTest, ThatAnotherProcessLocksBlockNoExchangeInTwoSteps)
{
    haveOlderCopy();
    const fs::path taken =
        makeLeftover(".tarnwick-aside-" + m_target.filename().string()); // of somebody else
    const fs::path aside = makeLeftover(m_aside);
    const FileDescriptor takenLock(::open(taken.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const FileDescriptor asideLock(::open(aside.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(takenLock.get(), LOCK_EX), 0);
    ASSERT_EQ(::flock(asideLock.get(), LOCK_EX), 0);
    std::optional<int> status;
    if (!withoutRenameFlags(MissingFlags::All, [&] { status = install(); })) {
        GTEST_SKIP() << "the system filters no system calls";
    }
    EXPECT_EQ(status, 0) << m_said;
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
    EXPECT_TRUE(fs::exists(taken / "bin" / "tarnwick"));
    EXPECT_TRUE(fs::exists(aside / "bin" / "tarnwick"));
    ASSERT_EQ(::flock(asideLock.get(), LOCK_UN), 0);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_THAT(names(), ElementsAre(taken.filename(), m_target.filename()));
}

TEST_F(LeftoversTest, ThatWereSetAsideLastReturnToTheirPlace)
{
    const auto changed = [](const fs::path &folder) {
        struct stat status = {};
        EXPECT_EQ(::stat(folder.c_str(), &status), 0);
        return std::pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
    };
    for (const auto &[first, second] : {std::pair("-abc012", "-bcd123"), {"-bcd123", "-abc012"}}) {
        const std::string begin = ".tarnwick-aside-" + m_target.filename().string();
        const fs::path older = makeLeftover(begin + first);
        haveOlderCopy();
        const Contents last = contents(m_target);
        const fs::path newer = m_applications / (begin + second);
        do { // until the clock of the file system has gone on
            fs::rename(m_target, newer);
            fs::rename(newer, m_target);
        } while (changed(m_target) <= changed(older));
        fs::rename(m_target, newer);
        write(m_source / "bin" / "tarnwick", programText("exit 3\n"), 0755);
        EXPECT_EQ(install(), 1);
        EXPECT_EQ(contents(m_target), last);
        EXPECT_THAT(names(), ElementsAre(m_target.filename()));
        fs::remove_all(m_target);
    }
}

} // namespace
} // namespace Tarnwick
