// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PortableCopy.h"

#include "App/MoveToApplications.h"
#include "App/Preferences.h"
#include "Platform/linux/AutostartEntry.h"
#include "Shared/FileDescriptor.h"
#include "Shared/Version.h"
#include "tests/Installer/InstallProgram.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/RecordedLog.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSettings>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using Outcome = MoveToApplications::Outcome;
using testing::StartsWith;

std::string read(const fs::path &file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeProgram(const fs::path &file, const std::string &script)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "#!/bin/sh\n" << script;
    fs::permissions(file, fs::perms(0755));
}

/// A portable folder, a folder for applications, and a pkexec that asks nobody.
class PortableCopyTest : public testing::Test
{
protected:
    PortableCopyTest()
    {
        fs::create_directories(m_applications);
        writeProgram(m_source / "bin" / "tarnwick",
                     "if [ \"$1\" = --version ]; then echo 'tarnwick " + std::string(version) +
                         "'; exit; fi\npwd > \"$0.part\"; mv \"$0.part\" \"$0.ran\"\n");
        writeProgram(m_source / "bin" / "tarnwick-helper", "");
        fs::copy_file(installProgram, m_source / "bin" / "tarnwick-install");
        std::ofstream(m_source / ".tarnwick-portable") << list;
        allow(true);
    }

    void allow(bool isAllowed) const
    {
        // 126 is what pkexec(1) ends with when its dialog was closed.
        writeProgram(m_folder.path() / "bin" / "pkexec",
                     "echo \"$2 $3 $4\" > '" + (m_folder.path() / "asked").string() + "'\n" +
                         (isAllowed ? "exec \"$@\"\n" : "exit 126\n"));
    }

    [[nodiscard]] PortableCopy copyAt(const fs::path &executable) const
    {
        return PortableCopy({.executable = executable,
                             .applications = m_applications.string() + "/",
                             .userApplications = m_userApplications,
                             .autostart = m_autostart});
    }

    /// Launches the portable folder @p folder with a user who agrees to everything.
    [[nodiscard]] Outcome agreeIn(const fs::path &folder) const
    {
        PortableCopy copy = copyAt(folder / "bin" / "tarnwick");
        QSettings store(QString::fromStdString(m_folder.path() / "conf"), QSettings::IniFormat);
        Preferences preferences(store);
        return MoveToApplications::promptIfNeeded(
            copy, preferences, [](const ModalQuestion &) { return ModalAnswer::FirstButton; });
    }

    [[nodiscard]] std::string lastMessage() const
    {
        const std::vector<std::string> messages = m_log.messages();
        return messages.empty() ? std::string() : messages.back();
    }

    [[nodiscard]] bool triedToMove() const { return fs::exists(m_folder.path() / "asked"); }

    /// Agrees to the move, and has the application quit while the installer runs.
    [[nodiscard]] Outcome quitDuringTheMove()
    {
        Outcome outcome = Outcome::Moved;
        QTimer::singleShot(0, qApp, [this, &outcome] { outcome = agreeIn(m_source); });
        QTimer tick;
        QObject::connect(&tick, &QTimer::timeout, [this] {
            if (triedToMove()) {
                QCoreApplication::quit();
            }
        });
        tick.start(std::chrono::milliseconds(5));
        EXPECT_EQ(QCoreApplication::exec(), 0);
        return outcome;
    }

    inline static const std::string list =
        "tarnwick-portable 1\n755 bin/tarnwick\n755 bin/tarnwick-helper\n755 "
        "bin/tarnwick-install\n";

    TemporaryFolder m_folder;
    fs::path m_source = m_folder.path() / "Down loads" / "Tarn'wick";
    fs::path m_applications = m_folder.path() / "opt";
    AutostartEntry::Folders m_autostart{.user = m_folder.path() / "autostart", .system = {}};
    fs::path m_userApplications = m_folder.path() / "home" / "Applications";
    RecordedLog m_log;
    ScopedEnvironment m_path{"PATH",
                             (m_folder.path() / "bin").string() + ":" + std::getenv("PATH")};
};

TEST_F(PortableCopyTest, IsTheFolderWithTheMarker)
{
    const PortableCopy copy = copyAt(m_source / "bin" / "tarnwick");
    EXPECT_TRUE(copy.isPortable());
    EXPECT_EQ(copy.path(), m_source);
    EXPECT_EQ(copy.openCommand("/opt/Tarn'wick"), R"('/opt/Tarn'\''wick/bin/tarnwick')");
}

TEST_F(PortableCopyTest, StartsWithTheSessionFromItsNewPlace)
{
    AutostartEntry old(m_autostart, m_source / "bin" / "tarnwick");
    const AutostartEntry moved(m_autostart, m_applications / "Tarn'wick" / "bin" / "tarnwick");
    ASSERT_EQ(old.registerApplication(), std::nullopt);
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_EQ(moved.status(), LoginItem::Status::Enabled);
    EXPECT_EQ(old.status(), LoginItem::Status::NotFound);
}

TEST_F(PortableCopyTest, StartsNotWithTheSessionUnlessItDidBefore)
{
    AutostartEntry old(m_autostart, m_source / "bin" / "tarnwick");
    ASSERT_EQ(old.registerApplication(), std::nullopt);
    ASSERT_EQ(old.unregisterApplication(), std::nullopt);
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_FALSE(fs::exists(old.file()));
}

TEST_F(PortableCopyTest, IsOpenedAfterTheEndOfTheInstance)
{
    ChildProcess instance({"sleep", "600"}, {.output = {}, .environment = {}});
    const PortableCopy copy({.executable = m_source / "bin" / "tarnwick",
                             .applications = m_applications.string() + "/",
                             .userApplications = m_userApplications,
                             .autostart = m_autostart,
                             .instance = instance.pid()});
    ChildProcess opener({"/bin/sh", "-c", copy.openCommand(m_source)},
                        {.output = {}, .environment = {}});
    const fs::path ran = m_source / "bin" / "tarnwick.ran";
    EXPECT_EQ(opener.awaitEnd(std::chrono::milliseconds(300)), std::nullopt);
    EXPECT_FALSE(fs::exists(ran));
    instance.signal(SIGKILL);
    ASSERT_TRUE(instance.awaitEnd(std::chrono::seconds(60)));
    EXPECT_EQ(opener.awaitEnd(std::chrono::seconds(60)), 0);
    EXPECT_TRUE(fs::exists(ran));
}

TEST_F(PortableCopyTest, MayHaveItsExecutableBesideTheMarker)
{
    const PortableCopy copy = copyAt(m_source / "tarnwick");
    EXPECT_TRUE(copy.isPortable());
    EXPECT_EQ(copy.path(), m_source);
    EXPECT_EQ(copy.openCommand("/opt/T"), "'/opt/T/tarnwick'");
}

TEST_F(PortableCopyTest, IsNoBuildTreeAndNoInstalledApplication)
{
    EXPECT_FALSE(copyAt(m_folder.path() / "build" / "bin" / "tarnwick").isPortable());
    EXPECT_FALSE(copyAt(m_source / "deeper" / "bin" / "tarnwick").isPortable());
    EXPECT_FALSE(copyAt("/usr/bin/tarnwick").isPortable());
}

TEST_F(PortableCopyTest, IsMovedAndStartedFromItsNewPlace)
{
    const fs::path target = m_applications / "Tarn'wick";
    fs::create_directories(target);
    std::ofstream(target / ".tarnwick-portable") << "tarnwick-portable 1\n644 of the older copy\n";
    std::ofstream(target / "of the older copy") << "";
    std::ofstream(m_source / "letter") << "private";
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_EQ(read(m_folder.path() / "asked"),
              "--receive " + m_applications.string() + "/ Tarn'wick\n");
    EXPECT_FALSE(fs::exists(target / "of the older copy"));
    EXPECT_FALSE(fs::exists(target / "letter"));
    EXPECT_TRUE(fs::exists(target / ".tarnwick-portable"));
    EXPECT_TRUE(fs::exists(m_source / "bin" / "tarnwick"));
    EXPECT_TRUE(awaitOutside([&target] { return fs::exists(target / "bin" / "tarnwick.ran"); }));
    EXPECT_TRUE(m_log.messages().empty());
}

TEST_F(PortableCopyTest, TellsTheLogWhatBecameOfAStrangersFile)
{
    const fs::path target = m_applications / "Tarn'wick";
    fs::create_directories(target);
    std::ofstream(target / ".tarnwick-portable") << "";
    std::ofstream(target / "notes") << "dear";
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_THAT(lastMessage(), StartsWith("[app] moved to " + target.string() + ": files that "));
}

TEST_F(PortableCopyTest, GoesOnWhereItIsWhenTheMoveFails)
{
    AutostartEntry entry(m_autostart, m_source / "bin" / "tarnwick");
    ASSERT_EQ(entry.registerApplication(), std::nullopt);
    const fs::path target = m_applications / "Tarn'wick";
    const fs::path marker = m_source / ".tarnwick-portable";
    const std::string begin = "[app] not moved to " + target.string() + ": ";
    std::ofstream(marker) << "";
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_THAT(lastMessage(),
                StartsWith(begin + marker.string() + " does not list the files of the copy: "));

    std::ofstream(marker) << list;
    fs::create_directories(target / "of somebody else");
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_EQ(lastMessage(), begin + m_applications.string() +
                                 "/Tarn'wick is there and is not a copy of Tarnwick");

    fs::remove(m_source / "bin" / "tarnwick-install");
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_THAT(lastMessage(), StartsWith(begin + "tarnwick-install: "));
    writeProgram(m_source / "bin" / "tarnwick-install", "exit 7\n");
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_EQ(lastMessage(), begin + "tarnwick-install ended with status 7");

    EXPECT_EQ(m_log.messages().size(), 4U);
    EXPECT_TRUE(fs::exists(target / "of somebody else"));
    EXPECT_EQ(entry.status(), LoginItem::Status::Enabled);
}

TEST_F(PortableCopyTest, IsMovedIntoAFolderForApplicationsThatIsALink)
{
    const fs::path real = m_folder.path() / "var" / "opt";
    fs::create_directories(real.parent_path());
    fs::rename(m_applications, real);
    fs::create_directory_symlink(real, m_applications);
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    const fs::path ran = real / "Tarn'wick" / "bin" / "tarnwick.ran";
    EXPECT_TRUE(awaitOutside([&ran] { return fs::exists(ran); }));
}

TEST_F(PortableCopyTest, IsInPlaceWhereTheFolderForApplicationsIsALink)
{
    const fs::path real = m_folder.path() / "var" / "opt";
    fs::create_directories(real / "Tools");
    fs::remove(m_applications);
    fs::create_directory_symlink(real, m_applications);
    for (const fs::path &place : {real / "Tarnwick", real / "Tools" / "Tarnwick"}) {
        fs::copy(m_source, place, fs::copy_options::recursive);
        EXPECT_EQ(agreeIn(place), Outcome::Stays);
        EXPECT_FALSE(triedToMove()) << place;
        EXPECT_TRUE(fs::exists(place / "bin" / "tarnwick"));
    }
}

TEST_F(PortableCopyTest, IsInPlaceWhereTheUsersHomeIsALink)
{
    const fs::path real = m_folder.path() / "var" / "home";
    fs::create_directories(real / "Applications");
    fs::create_directory_symlink(real, m_folder.path() / "home");
    fs::rename(m_source, real / "Applications" / "Tarnwick");
    EXPECT_EQ(agreeIn(real / "Applications" / "Tarnwick"), Outcome::Stays);
    EXPECT_FALSE(triedToMove());
}

TEST_F(PortableCopyTest, IsNeverRemovedToMakePlaceForItself)
{
    fs::create_directory_symlink(m_source, m_applications / m_source.filename());
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_FALSE(triedToMove());
    EXPECT_TRUE(fs::is_symlink(m_applications / m_source.filename()));
}

TEST_F(PortableCopyTest, StaysWhereItIsWhenTheQuestionForThePasswordIsCancelled)
{
    allow(false);
    PortableCopy copy = copyAt(m_source / "bin" / "tarnwick");
    QSettings store(QString::fromStdString(m_folder.path() / "conf"), QSettings::IniFormat);
    Preferences preferences(store);
    const Outcome outcome = MoveToApplications::promptIfNeeded(
        copy, preferences, [](const ModalQuestion &) { return ModalAnswer::FirstButton; });
    EXPECT_EQ(outcome, Outcome::Stays);
    EXPECT_TRUE(triedToMove());
    EXPECT_TRUE(fs::is_empty(m_applications));
    EXPECT_TRUE(store.allKeys().isEmpty());
    EXPECT_EQ(lastMessage(), "[app] not moved to " + (m_applications / "Tarn'wick").string() +
                                 ": the administrator's password was not given");
}

TEST_F(PortableCopyTest, EndsTheMoveWhenTheApplicationQuits)
{
    writeProgram(m_folder.path() / "bin" / "pkexec",
                 "touch '" + (m_folder.path() / "asked").string() + "'; cat > /dev/null\n");
    EXPECT_EQ(quitDuringTheMove(), Outcome::Stays);
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(PortableCopyTest, EndsTheMoveAlsoWhenTheInstallerIgnoresThatTheApplicationQuits)
{
    writeProgram(m_source / "bin" / "tarnwick-install", "trap '' TERM; touch '" +
                                                            (m_folder.path() / "asked").string() +
                                                            "'; while :; do sleep 0.05; done\n");
    EXPECT_EQ(quitDuringTheMove(), Outcome::Stays);
}

TEST_F(PortableCopyTest, IsStartedFromItsNewPlaceWhileTheOlderCopyIsStillBeingRemoved)
{
    const fs::path target = m_applications / "Tarn'wick";
    const fs::path fifo = m_folder.path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    FileDescriptor held(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    const fs::path ended = m_folder.path() / "ended";
    writeProgram(m_folder.path() / "bin" / "pkexec", "exec 3< '" + fifo.string() +
                                                         "'; \"$@\"; read line <&3; touch '" +
                                                         ended.string() + "'\n");
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_TRUE(awaitOutside([&target] { return fs::exists(target / "bin" / "tarnwick.ran"); }));
    EXPECT_FALSE(fs::exists(ended));
    EXPECT_TRUE(m_log.messages().empty());
    held.reset();
    EXPECT_TRUE(awaitOutside([&ended] { return fs::exists(ended); }));
}

TEST_F(PortableCopyTest, IsMovedWhenTheInstallerIsKilledAfterTheCopyHasGotItsPlace)
{
    const fs::path target = m_applications / "Tarn'wick";
    writeProgram(m_source / "bin" / "tarnwick-install", "cp -R \"$1\" \"$2\"; kill -9 $$\n");
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_THAT(lastMessage(),
                StartsWith("[app] moved to " + target.string() + ", but: tarnwick-install"));
    EXPECT_TRUE(awaitOutside([&target] { return fs::exists(target / "bin" / "tarnwick.ran"); }));
}

TEST_F(PortableCopyTest, IsNotMovedByAnInstallerThatIsKilledBefore)
{
    const fs::path target = m_applications / "Tarn'wick";
    fs::copy(m_source, target, fs::copy_options::recursive); // the older copy
    writeProgram(m_source / "bin" / "tarnwick-install", "kill -9 $$\n");
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_THAT(lastMessage(),
                StartsWith("[app] not moved to " + target.string() + ": tarnwick-install"));
}

TEST_F(PortableCopyTest, StaysWhereItIsWhenTheInstallationEndsWithoutAnAnswer)
{
    writeProgram(m_folder.path() / "bin" / "pkexec", "exec cat > /dev/null\n");
    EXPECT_EQ(agreeIn(m_source), Outcome::Stays);
    EXPECT_EQ(lastMessage(), "[app] not moved to " + (m_applications / "Tarn'wick").string() +
                                 ": the other half ended without an answer");
}

TEST_F(PortableCopyTest, EndsTheApplicationOnceItsEventLoopRuns)
{
    PortableCopy copy = copyAt(m_source / "bin" / "tarnwick");
    copy.terminate();
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(PortableCopyTest, TellsItsVersion)
{
    EXPECT_EQ(copyAt(m_source / "tarnwick").information().value("CFBundleShortVersionString"),
              QString::fromUtf8(version.data(), version.size()));
}

} // namespace
} // namespace Tarnwick
