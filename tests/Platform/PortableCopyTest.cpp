// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PortableCopy.h"

#include "App/MoveToApplications.h"
#include "App/Preferences.h"
#include "Platform/linux/AutostartEntry.h"
#include "Shared/Version.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using Outcome = MoveToApplications::Outcome;
using Privileged = ApplicationBundle::Privileged;

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
                     "pwd > \"$0.part\"; mv \"$0.part\" \"$0.ran\"\n");
        std::ofstream(m_source / ".tarnwick-portable") << "";
        allow(true);
    }

    void allow(bool isAllowed) const
    {
        // 126 is what pkexec(1) ends with when its dialog was closed.
        writeProgram(m_folder.path() / "bin" / "pkexec",
                     "echo \"$1 $2\" > '" + (m_folder.path() / "asked").string() + "'\n" +
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

    [[nodiscard]] bool triedToMove() const { return fs::exists(m_folder.path() / "asked"); }

    TemporaryFolder m_folder;
    fs::path m_source = m_folder.path() / "Down loads" / "Tarn'wick";
    fs::path m_applications = m_folder.path() / "opt";
    fs::path m_autostart = m_folder.path() / "autostart";
    fs::path m_userApplications = m_folder.path() / "home" / "Applications";
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

TEST_F(PortableCopyTest, RunsACommandAsWhoeverPkexecMakesIt)
{
    PortableCopy copy = copyAt(m_source / "bin" / "tarnwick");
    const fs::path made = m_folder.path() / "made";
    EXPECT_EQ(copy.runPrivileged("printf 'a \"b\"' > '" + made.string() + "'"), Privileged::Done);
    EXPECT_EQ(read(made), "a \"b\"");
    EXPECT_EQ(read(m_folder.path() / "asked"), "/bin/sh -c\n");
}

TEST_F(PortableCopyTest, TellsWhenACommandFailedOrWasNotAllowed)
{
    PortableCopy copy = copyAt(m_source / "bin" / "tarnwick");
    EXPECT_EQ(copy.runPrivileged("exit 1"), Privileged::Failed);
    EXPECT_EQ(copy.runPrivileged("kill -9 $$"), Privileged::Failed);
    allow(false);
    EXPECT_EQ(copy.runPrivileged("true"), Privileged::Failed);
    fs::remove(m_folder.path() / "bin" / "pkexec");
    const ScopedEnvironment nowhere("PATH", m_folder.path() / "bin");
    EXPECT_EQ(copy.runPrivileged("true"), Privileged::Failed);
}

TEST_F(PortableCopyTest, IsMovedAndStartedFromItsNewPlace)
{
    const fs::path target = m_applications / "Tarn'wick";
    fs::create_directories(target / "an old copy");
    EXPECT_EQ(agreeIn(m_source), Outcome::Moved);
    EXPECT_FALSE(fs::exists(target / "an old copy"));
    EXPECT_TRUE(fs::exists(target / ".tarnwick-portable"));
    EXPECT_TRUE(fs::exists(m_source / "bin" / "tarnwick"));
    EXPECT_TRUE(awaitOutside([&target] { return fs::exists(target / "bin" / "tarnwick.ran"); }));
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
