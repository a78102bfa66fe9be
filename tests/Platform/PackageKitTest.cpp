// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/Polling.h"
#include "tests/Platform/Scripts.h"
#include "tests/Platform/SystemBusFixture.h"
#include "tests/Support/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Tarnwick {
namespace {

using Kind = UpdateResult::Kind;
namespace fs = std::filesystem;

constexpr int noSuchMachine = 77;

/// The updater with the real PackageKit and the real package manager, on a machine of the test's
/// own.
class PackageKitTest : public SystemBusFixture
{
protected:
    void SetUp() override
    {
        fs::permissions(m_machineFolder.path(), fs::perms(0755));
        const bool isDecided = awaitOutside([this] {
            return m_machine.hasEnded() || fs::exists(m_machineFolder.path() / "ready");
        });
        if (m_machine.hasEnded() && m_machine.awaitEnd(patience) == noSuchMachine) {
            GTEST_SKIP() << "no machine with PackageKit can be had here";
        }
        ASSERT_TRUE(isDecided && !m_machine.hasEnded()) << output();
        m_updater = makeUpdater("/opt/tarnwick-sample/tarnwick");
        m_updater->setAutomaticallyChecksForUpdates(false);
        m_updater->start(handlersFor(m_told));
        ASSERT_TRUE(await([this] { return m_told.isFound; })) << output();
    }

    [[nodiscard]] std::string output() const
    {
        std::ifstream file(m_machineFolder.path() / "output");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] UpdateResult check()
    {
        const std::size_t had = m_told.results.size();
        m_updater->checkForUpdates();
        return nextResult(m_told, had).value_or(UpdateResult{Kind::Failed, {}, {}});
    }

    TemporaryFolder m_machineFolder;
    ChildProcess m_machine{{packageMachineProgram, m_machineFolder.path(), bus().address()},
                           {.output = m_machineFolder.path() / "output", .environment = {}}};
    std::unique_ptr<PackageKitUpdater> m_updater;
    Told m_told;
};

TEST_F(PackageKitTest, FindsAndInstallsAnUpdateAndIsUpToDateThen)
{
    const UpdateResult found = check();
    EXPECT_EQ(found.kind, Kind::Available) << found.text << output();
    EXPECT_EQ(found.version, "1.1");

    m_updater->installUpdate();
    const auto installed = nextResult(m_told, 1);
    ASSERT_TRUE(installed);
    EXPECT_EQ(installed->kind, Kind::Installed) << installed->text << output();

    const UpdateResult then = check();
    EXPECT_EQ(then.kind, Kind::UpToDate) << then.text << output();
}

TEST_F(PackageKitTest, TellsInItsOwnWordsThatTheListsCannotBeFetched)
{
    fs::rename(m_machineFolder.path() / "repository", m_machineFolder.path() / "gone");
    const UpdateResult result = check();
    EXPECT_EQ(result.kind, Kind::Failed);
    EXPECT_NE(result.text, "");
}

TEST_F(PackageKitTest, IsAbsentForAFileOfNoPackage)
{
    Told stray;
    const auto other = makeUpdater("/opt/tarnwick-sample/stray");
    other->start(handlersFor(stray));
    Told again;
    const auto packaged = makeUpdater("/opt/tarnwick-sample/tarnwick");
    packaged->start(handlersFor(again));
    ASSERT_TRUE(await([&again] { return again.isFound; }));
    EXPECT_FALSE(stray.isFound);
}

} // namespace
} // namespace Tarnwick
