// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopySender.h"

#include "tests/Installer/InstallFixture.h"
#include "tests/Support/OtherUser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;

/// The two halves as two users: nobody, whose folder it is, and root. In the place of pkexec is a
/// script that has this test start the other half.
class OtherUserInstallTest : public InstallFixture
{
protected:
    void SetUp() override
    {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root starts programs as two users";
        }
        const std::string folder = (m_folder.path() / "pipes").string();
        fs::create_directory(folder);
        for (const char *const name : {"in", "out", "status"}) {
            ASSERT_EQ(::mkfifo((fs::path(folder) / name).c_str(), 0600), 0);
        }
        pkexec("cd '" + folder +
               "'; exec 3<&0; cat <&3 > in & cat out; read code < status; "
               "exit $code\n");
        giveAway(m_folder.path());
        ASSERT_EQ(::chown(m_applications.c_str(), 0, 0), 0);
    }

    static void giveAway(const fs::path &folder)
    {
        ASSERT_EQ(::chown(folder.c_str(), otherUser, otherUser), 0);
        for (const auto &entry : fs::recursive_directory_iterator(folder)) {
            ASSERT_EQ(::lchown(entry.path().c_str(), otherUser, otherUser), 0);
        }
    }

    /// The status that nobody's half ends with.
    int installAsOtherUser()
    {
        const std::string folder = (m_folder.path() / "pipes").string();
        ChildProcess privileged({"/bin/sh", "-c", R"(cd "$0"; "$@" < in > out; echo $? > status)",
                                 folder, installProgram, "--receive", m_applications,
                                 m_target.filename()},
                                {.output = m_folder.path() / "said", .environment = {}});
        const std::string path = "PATH=" + (m_folder.path() / "bin").string() + ":/usr/bin:/bin";
        ChildProcess installer({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                "env", path, installProgram, m_source, m_applications,
                                "bin/tarnwick"},
                               {.output = m_folder.path() / "said", .environment = {}});
        const int status = installer.awaitEnd(std::chrono::minutes(1)).value_or(-1);
        m_said = read(m_folder.path() / "said");
        return status;
    }
};

TEST_F(OtherUserInstallTest, GivesTheCopyToRoot)
{
    fs::permissions(m_source, fs::perms(0700));
    fs::permissions(m_source / "bin" / "tarnwick", fs::perms(0700));
    EXPECT_EQ(installAsOtherUser(), 0) << m_said;
    int count = 0;
    for (const auto &entry : fs::recursive_directory_iterator(m_applications)) {
        struct stat status = {};
        ASSERT_EQ(::lstat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 0U) << entry.path();
        EXPECT_EQ(status.st_gid, 0U) << entry.path();
        EXPECT_EQ(status.st_mode & 07000U, 0U) << entry.path();
        ++count;
    }
    EXPECT_EQ(count, 8);
}

TEST_F(OtherUserInstallTest, CopiesNothingThatTheUserMayNotRead)
{
    ASSERT_EQ(::chown((m_source / "share" / "notes").c_str(), 0, 0), 0);
    fs::permissions(m_source / "share" / "notes", fs::perms(0600));
    EXPECT_EQ(installAsOtherUser(), 1);
    EXPECT_THAT(m_said, testing::EndsWith("share/notes: Permission denied\n"));
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(OtherUserInstallTest, ReplacesNothingByACopyThatTheUserMayNotReach)
{
    fs::permissions(m_applications, fs::perms(0700));
    EXPECT_EQ(installAsOtherUser(), 1);
    EXPECT_EQ(m_said, "tarnwick-install: " + m_applications.string() + ": Permission denied\n");
    EXPECT_TRUE(fs::is_empty(m_applications));
    EXPECT_FALSE(wasAsked());
}

} // namespace
} // namespace Tarnwick
