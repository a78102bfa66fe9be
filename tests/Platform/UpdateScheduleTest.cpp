// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UpdateSchedule.h"

#include "tests/Support/RecordedLog.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTimeZone>

#include <filesystem>
#include <fstream>

namespace Tarnwick {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class UpdateScheduleTest : public testing::Test
{
protected:
    [[nodiscard]] UpdateSchedule schedule()
    {
        return {m_file, [this] { return m_now; }};
    }
    void passHours(int hours) { m_now = m_now.addSecs(qint64{hours} * 3600); }

    RecordedLog m_log;
    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder.path() / "state" / "tarnwick" / "updater.conf";
    QDateTime m_now{QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc()};
};

TEST_F(UpdateScheduleTest, IsAutomaticAndDueAtFirst)
{
    EXPECT_TRUE(schedule().isAutomatic());
    EXPECT_TRUE(schedule().isDue());
}

TEST_F(UpdateScheduleTest, IsDueOnceADay)
{
    schedule().recordCheck({});
    EXPECT_FALSE(schedule().isDue());
    passHours(23);
    EXPECT_FALSE(schedule().isDue());
    passHours(1);
    EXPECT_TRUE(schedule().isDue());
}

TEST_F(UpdateScheduleTest, IsNeverDueWhenTheUserWantsNoAutomaticChecks)
{
    schedule().setAutomatic(false);
    EXPECT_FALSE(schedule().isAutomatic());
    EXPECT_FALSE(schedule().isDue());
    schedule().setAutomatic(true);
    EXPECT_TRUE(schedule().isDue());
}

TEST_F(UpdateScheduleTest, TakesTheWordsThatPeopleWriteForTheirChoice)
{
    std::filesystem::create_directories(m_file.parent_path());
    std::ofstream(m_file) << "[General]\nautomaticallyChecksForUpdates=no\n";
    EXPECT_FALSE(schedule().isAutomatic());
}

TEST_F(UpdateScheduleTest, IsNotPutOffByALastCheckInTheFuture)
{
    schedule().recordCheck({});
    passHours(-48);
    EXPECT_TRUE(schedule().isDue());
}

TEST_F(UpdateScheduleTest, IsDueAtTheNextStartAfterAnUpdateWasFound)
{
    schedule().recordCheck({});
    EXPECT_FALSE(schedule().isDueAtStart());
    schedule().recordCheck(QStringLiteral("1.3.0"));
    EXPECT_TRUE(schedule().isDueAtStart());
    EXPECT_FALSE(schedule().isDue());
    schedule().setAutomatic(false);
    EXPECT_FALSE(schedule().isDueAtStart());
    schedule().setAutomatic(true);
    schedule().recordCheck({});
    EXPECT_FALSE(schedule().isDueAtStart());
}

TEST_F(UpdateScheduleTest, RemembersWhichUpdateTheUserHasSeen)
{
    EXPECT_FALSE(schedule().isSeen(QStringLiteral("1.3.0")));
    EXPECT_FALSE(schedule().isSeen({}));
    schedule().recordSeen(QStringLiteral("1.3.0"));
    EXPECT_TRUE(schedule().isSeen(QStringLiteral("1.3.0")));
    EXPECT_FALSE(schedule().isSeen(QStringLiteral("1.4.0")));
}

TEST_F(UpdateScheduleTest, TakesADamagedFileForNone)
{
    std::filesystem::create_directories(m_file.parent_path());
    std::ofstream(m_file) << "lastCheck=soon\nautomaticallyChecksForUpdates=\x01\nxx[[";
    EXPECT_TRUE(schedule().isDue());
}

TEST_F(UpdateScheduleTest, IsKeptForItselfWhereTheFileCannotBeWritten)
{
    std::ofstream(m_folder.path() / "state") << "a file";
    UpdateSchedule one = schedule();
    one.setAutomatic(false);
    EXPECT_FALSE(one.isAutomatic());
}

TEST_F(UpdateScheduleTest, LogsOnceThatTheFileCannotBeWritten)
{
    schedule().recordCheck({});
    EXPECT_THAT(m_log.messages(), IsEmpty());
    const std::filesystem::path noFolder = m_folder.path() / "file";
    std::ofstream(noFolder) << "no folder";
    m_file = noFolder / "updater.conf";
    UpdateSchedule one = schedule();
    one.recordCheck({});
    one.recordSeen(QStringLiteral("1.3.0"));
    one.setAutomatic(false);
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[updates] the schedule cannot be kept in " + m_file.string()));
}

} // namespace
} // namespace Tarnwick
