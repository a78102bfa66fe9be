// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopySender.h"

#include "tests/Installer/AccessControlLists.h"
#include "tests/Installer/InstallFixture.h"
#include "tests/Installer/MountedFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/mount.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Key;
using testing::Pair;
using testing::StartsWith;

constexpr const char *notPermitted = "mounting is not permitted here";

class CopySenderTest : public InstallFixture
{
};

TEST_F(CopySenderTest, InstallsTheListedFilesOnly)
{
    // The marker lies in a home folder, among everything else that there is.
    write(m_source / "letter", "private\n", 0600);
    write(m_source / "bin" / "other", "#!/bin/sh\n", 0755);
    fs::create_symlink("/etc/passwd", m_source / "link");
    fs::create_directory_symlink("/", m_source / "share" / "everything");
    ASSERT_EQ(::mkfifo((m_source / "pipe").c_str(), 0666), 0);
    fs::resize_file(m_source / "letter", 1ULL << 40); // as sparse as it is large
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_THAT(contents(m_applications),
                ElementsAre(Key("Tarn'wick copy"), Key("Tarn'wick copy/.tarnwick-portable"),
                            Key("Tarn'wick copy/bin"), Key("Tarn'wick copy/bin/tarnwick"),
                            Key("Tarn'wick copy/bin/tarnwick-helper"),
                            Key("Tarn'wick copy/bin/tarnwick-install"), Key("Tarn'wick copy/share"),
                            Key("Tarn'wick copy/share/notes")));
    EXPECT_EQ(read(m_target / "share" / "notes"), "notes\n");
    EXPECT_EQ(read(m_target / ".tarnwick-portable"),
              "tarnwick-portable 1\n" + programs + "644 share/notes\n");
}

TEST_F(CopySenderTest, GivesEveryFileTheModeThatItIsListedWith)
{
    fs::permissions(m_source / "bin" / "tarnwick", fs::perms(04700));
    fs::permissions(m_source / "share" / "notes", fs::perms(0600));
    fs::permissions(m_source / "bin", fs::perms(0700));
    fs::permissions(m_source, fs::perms(0700));
    const mode_t mask = ::umask(0077);
    EXPECT_EQ(install(), 0) << m_said;
    ::umask(mask);
    const auto modeOf = [](const fs::path &path) { return fs::status(path).permissions(); };
    EXPECT_EQ(modeOf(m_target), fs::perms(0755));
    EXPECT_EQ(modeOf(m_target / "bin"), fs::perms(0755));
    EXPECT_EQ(modeOf(m_target / "bin" / "tarnwick"), fs::perms(0755));
    EXPECT_EQ(modeOf(m_target / "share" / "notes"), fs::perms(0644));
    EXPECT_EQ(modeOf(m_target / ".tarnwick-portable"), fs::perms(0644));
}

TEST_F(CopySenderTest, ReplacesAnOlderCopy)
{
    haveOlderCopy();
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_FALSE(fs::exists(m_target / "gone"));
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
    EXPECT_EQ(contents(m_applications).size(), 8U);
}

TEST_F(CopySenderTest, KeepsWhatAnOlderCopyDoesNotList)
{
    haveOlderCopy();
    write(m_target / "gone" / "mine", "dear\n");
    fs::create_directory_symlink(m_source, m_target / "to the source");
    EXPECT_EQ(install(), 0) << m_said;
    const std::string begin =
        "tarnwick-install: files that the older copy does not list are kept in ";
    ASSERT_THAT(m_said, StartsWith(begin + m_applications.string() + "/Tarn'wick copy.old-"));
    EXPECT_FALSE(fs::exists(m_target / "gone"));
    const std::string old = m_said.substr(begin.size(), m_said.size() - begin.size() - 1);
    EXPECT_THAT(contents(old), ElementsAre(Key("gone"), Pair("gone/mine", EndsWith(" dear\n")),
                                           Key("to the source")));
    EXPECT_TRUE(fs::exists(m_source / "bin" / "tarnwick"));
}

TEST_F(CopySenderTest, LeavesNoMomentWithoutAWholeCopy)
{
    ASSERT_EQ(install(), 0) << m_said;
    std::atomic<bool> isOver = false;
    std::atomic<int> misses = 0;
    std::thread watcher([&] {
        while (!isOver) {
            misses += ::access((m_target / "share" / "notes").c_str(), R_OK) == 0 ? 0 : 1;
        }
    });
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(install(), 0) << m_said;
    }
    isOver = true;
    watcher.join();
    EXPECT_EQ(misses, 0);
}

TEST_F(CopySenderTest, NeverTouchesWhatIsNoCopyOfTarnwick)
{
    const std::string reason = m_target.string() + " is there and is not a copy of Tarnwick";
    fs::create_directory(m_target);
    expectRefusedAtOnce(reason);
    write(m_target / "browser", "#!/bin/sh\n", 0755);
    expectRefusedAtOnce(reason);
    fs::create_directory(m_target / ".tarnwick-portable");
    expectRefusedAtOnce(reason);
    fs::remove(m_target / ".tarnwick-portable");
    fs::create_symlink(m_source / ".tarnwick-portable", m_target / ".tarnwick-portable");
    expectRefusedAtOnce(reason);
    fs::remove_all(m_target);
    fs::create_directory_symlink(m_source, m_target);
    expectRefusedAtOnce(reason);
    fs::remove(m_target);
    write(m_target, "a file\n");
    expectRefusedAtOnce(reason);
}

TEST_F(CopySenderTest, TakesNoMarkerOfAnotherUser)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root gives files away";
    }
    const std::string reason = m_target.string() + " is there and is not a copy of Tarnwick";
    constexpr uid_t other = 65534;
    haveOlderCopy();
    ASSERT_EQ(::chown((m_target / ".tarnwick-portable").c_str(), other, other), 0);
    expectRefused(reason);
    ASSERT_EQ(::chown((m_target / ".tarnwick-portable").c_str(), 0, 0), 0);
    ASSERT_EQ(::chown(m_target.c_str(), other, other), 0);
    expectRefused(reason);
}

TEST_F(CopySenderTest, WritesNowhereThatOthersMayWriteTo)
{
    const std::string reason =
        m_applications.string() + "/: other users may write into this folder";
    fs::permissions(m_applications, fs::perms(01777));
    expectRefusedAtOnce(reason);
}

TEST_F(CopySenderTest, WritesNowhereThatOthersMayWriteToByAnAccessControlList)
{
    if (!setAccessControlList(m_applications, "access", 07)) {
        GTEST_SKIP() << "the file system has no access control lists";
    }
    expectRefusedAtOnce(m_applications.string() + "/: other users may write into this folder");
    ASSERT_TRUE(setAccessControlList(m_applications, "access", 05));
    EXPECT_EQ(install(), 0) << m_said;
}

TEST_F(CopySenderTest, InheritsNoAccessControlList)
{
    if (!setAccessControlList(m_applications, "default", 07)) {
        GTEST_SKIP() << "the file system has no access control lists";
    }
    EXPECT_EQ(install(), 0) << m_said;
    int count = 0;
    for (const auto &entry : fs::recursive_directory_iterator(m_applications)) {
        for (const char *const list : {"system.posix_acl_access", "system.posix_acl_default"}) {
            EXPECT_LT(::getxattr(entry.path().c_str(), list, nullptr, 0), 0) << entry.path();
        }
        ++count;
    }
    EXPECT_EQ(count, 8);
    EXPECT_EQ(fs::status(m_target / "share" / "notes").permissions(), fs::perms(0644));
    EXPECT_EQ(fs::status(m_target).permissions(), fs::perms(0755));
}

TEST_F(CopySenderTest, AsksForNoPasswordWithoutAListOfFiles)
{
    const std::string marker = (m_source / ".tarnwick-portable").string();
    const std::string begin = marker + " does not list the files of the copy: ";
    for (const char *const text : {"", "755 bin/tarnwick\n"}) {
        write(marker, text);
        expectRefused(begin + "the first line is not 'tarnwick-portable 1'");
    }
    list("755 a\n644 ../x\n");
    expectRefused(begin + "line 3: not a mode and a path inside of the folder of at most 32 "
                          "components");
    list("755 a\n644 a\n");
    expectRefused(begin + "line 3: a file that is listed already");
    write(marker, std::string(2UL * 1024 * 1024 + 1, 'x'));
    expectRefused(marker + ": File too large");
    fs::remove(marker);
    fs::create_symlink("share/notes", marker);
    expectRefused(marker + ": Too many levels of symbolic links");
    fs::remove(marker);
    ASSERT_EQ(::mkfifo(marker.c_str(), 0644), 0);
    expectRefused(marker + ": Invalid argument");
    EXPECT_FALSE(wasAsked());
}

TEST_F(CopySenderTest, MovesNoCopyWithoutAllItsPrograms)
{
    const std::string marker = (m_source / ".tarnwick-portable").string();
    for (const char *const program :
         {"bin/tarnwick", "bin/tarnwick-helper", "bin/tarnwick-install"}) {
        const std::string line = "755 " + std::string(program) + '\n';
        std::string others = programs;
        others.erase(others.find(line), line.size());
        list(others);
        expectRefusedAtOnce(marker + " does not list the program " + program);
        list(others + "644 " + program + '\n');
        expectRefusedAtOnce(marker + " does not list the program " + program);
    }
}

TEST_F(CopySenderTest, ReadsNothingButFilesOfTheFolder)
{
    write(m_folder.path() / "secret" / "key", "secret\n", 0600);
    fs::create_directory_symlink(m_folder.path() / "secret", m_source / "secret");
    fs::create_symlink("/etc/passwd", m_source / "link");
    ASSERT_EQ(::mkfifo((m_source / "pipe").c_str(), 0644), 0);
    for (const auto &[file, why] :
         {std::pair("secret/key", "Not a directory"), std::pair("share", "Invalid argument"),
          std::pair("link", "Too many levels of symbolic links"),
          std::pair("pipe", "Invalid argument"), std::pair("none", "No such file or directory"),
          std::pair("share/notes/x", "Not a directory")}) {
        list(programs + "644 " + file + '\n');
        expectRefused((m_source / file).string() + ": " + why);
    }
    EXPECT_FALSE(wasAsked());
}

TEST_F(CopySenderTest, HasNoPlaceForAFolderOfAnOddName)
{
    for (const char *const name : {".hidden", "line\nfeed", "bell\a"}) {
        const fs::path source = m_folder.path() / "home" / name;
        fs::rename(m_source, source);
        m_source = source;
        expectRefusedAtOnce("a folder of this name is not moved");
    }
    EXPECT_EQ(install("/"), 1);
}

TEST_F(CopySenderTest, TakesANameThatLooksLikeAnOption)
{
    const fs::path source = m_folder.path() / "home" / "--receive";
    fs::rename(m_source, source);
    EXPECT_EQ(install(source), 0) << m_said;
    EXPECT_EQ(read(m_applications / "--receive" / "share" / "notes"), "notes\n");
}

TEST_F(CopySenderTest, ReplacesNothingByACopyThatDoesNotRun)
{
    const fs::path program = m_source / "bin" / "tarnwick";
    haveOlderCopy();
    write(program, programText("exit 3\n"), 0755);
    expectRefused("the copy does not run: it ended with status 3");
    write(program, programText("kill -9 $$\n"), 0755);
    expectRefused("the copy does not run: it ended with signal 9");
    write(program, "#!/bin/sh\necho tarnwick 0.0.0\n", 0755);
    expectRefused("the copy is of another version");
    write(program, "#!/no/such/interpreter\n", 0755);
    expectRefused("the copy cannot be started: No such file or directory");
    write(program,
          "\x7f"
          "ELF of another machine",
          0755);
    expectRefused("the copy cannot be started: Exec format error");
}

TEST_F(CopySenderTest, ReplacesNothingByACopyThatRunsOnlyWithTheCallersVariables)
{
    haveOlderCopy();
    for (const char *const variable : {"LD_LIBRARY_PATH", "QT_PLUGIN_PATH", "GCONV_PATH"}) {
        write(m_source / "bin" / "tarnwick",
              "#!/bin/sh\n[ \"$" + std::string(variable) + "\" ] || exit 3\necho 'tarnwick " +
                  std::string(version) + "'\n",
              0755);
        m_launcher = {"/usr/bin/env", std::string(variable) + "=/no/such/folder"};
        expectRefused("the copy does not run: it ended with status 3");
    }
}

TEST_F(CopySenderTest, KnowsHowItsProcessesEndedWhereTheCallerIgnoresSigchld)
{
    m_launcher = {"env", "--ignore-signal=CHLD"};
    haveOlderCopy();
    write(m_source / "bin" / "tarnwick", programText("exit 3\n"), 0755);
    expectRefused("the copy does not run: it ended with status 3");
    pkexec("exit 126\n");
    expectRefused("the administrator's password was not given");
}

TEST_F(CopySenderTest, SaysThatTheOtherHalfEndedWithoutAReason)
{
    pkexec("exit 7\n");
    expectRefused("the other half ended with status 7 without an answer");
    pkexec("exec cat > /dev/null\n");
    expectRefused("the other half ended without an answer");
}

TEST_F(CopySenderTest, SucceedsOnceTheCopyIsInPlace)
{
    haveOlderCopy();
    pkexec("\"$@\"; kill -9 $$\n"); // as in the midst of removing the older copy
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
}

TEST_F(CopySenderTest, WaitsNotForEverForACopyThatHangs)
{
    write(m_source / "bin" / "tarnwick", programText("exec sleep 600\n"), 0755);
    expectRefused("the copy does not end when it is asked for its version");
}

TEST_F(CopySenderTest, ChangesNothingWithoutThePassword)
{
    haveOlderCopy();
    pkexec("echo 'Error executing command as another user: Request dismissed' >&2; exit 126\n");
    EXPECT_EQ(install(), 1);
    EXPECT_THAT(m_said, EndsWith("tarnwick-install: the administrator's password was not given\n"));
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), "older\n");
    pkexec("exit 127\n");
    expectRefused("pkexec did not authorize it");
    pkexec("kill -9 $$\n");
    expectRefused("ended by signal 9");
    fs::remove(m_folder.path() / "bin" / "pkexec");
    if (!fs::exists("/usr/bin/pkexec")) {
        expectRefused("pkexec: No such file or directory");
    }
}

TEST_F(CopySenderTest, ChangesNothingWhereThereIsNoFolderForApplications)
{
    fs::remove(m_applications);
    expectRefused(m_applications.string() + "/: No such file or directory");
}

TEST_F(CopySenderTest, ChangesNothingOnAFullDisk)
{
    const MountedFolder mount(m_applications, "size=128k,mode=755");
    if (!mount) {
        GTEST_SKIP() << notPermitted;
    }
    write(m_source / "share" / "notes", std::string(1024UL * 1024UL, 'x'));
    haveOlderCopy();
    expectRefusedAtOnce(m_applications.string() +
                        "/: no room for the copy, which needs 2 MiB of the 1 MiB that are free");
}

TEST_F(CopySenderTest, ChangesNothingWhereNoMoreFilesFit)
{
    const MountedFolder mount(m_applications, "nr_inodes=5,mode=755");
    if (!mount) {
        GTEST_SKIP() << notPermitted;
    }
    expectRefusedAtOnce(
        m_applications.string() +
        "/: no room for the copy, which needs 6 of the 4 files that can still be made");
}

TEST_F(CopySenderTest, ChangesNothingOnAReadOnlyDisk)
{
    const MountedFolder mount(m_applications, "mode=755");
    if (!mount) {
        GTEST_SKIP() << notPermitted;
    }
    haveOlderCopy();
    ASSERT_TRUE(mount.makeReadOnly());
    expectRefusedAtOnce(m_applications.string() + "/: Read-only file system");
}

TEST_F(CopySenderTest, ChangesNothingWhereNoProgramMayRun)
{
    const MountedFolder mount(m_applications, "mode=755", MS_NOEXEC);
    if (!mount) {
        GTEST_SKIP() << notPermitted;
    }
    haveOlderCopy();
    expectRefusedAtOnce(m_applications.string() +
                        "/: the file system is mounted with noexec, no program runs there");
}

TEST_F(CopySenderTest, LeavesAnotherFileSystemInItsPlaceAlone)
{
    fs::create_directory(m_target);
    const MountedFolder mount(m_target, "mode=755");
    if (!mount) {
        GTEST_SKIP() << notPermitted;
    }
    haveOlderCopy();
    expectRefusedAtOnce(m_target.string() + " is there and is not a copy of Tarnwick");
}

} // namespace
} // namespace Tarnwick
