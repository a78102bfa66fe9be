// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/LaunchAtLogin.h"

#include "Platform/fake/FakeLoginItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;
using Status = LoginItem::Status;

namespace {

class LaunchAtLoginTest : public testing::Test
{
protected:
    LaunchAtLoginTest()
    {
        QObject::connect(&m_toggle, &LaunchAtLogin::isEnabledChanged,
                         [this] { m_shown.push_back(m_toggle.isEnabled()); });
    }

    /// Lets the view hand back every value that it is given, as a two-way binding does.
    void bindBothWays()
    {
        QObject::connect(&m_toggle, &LaunchAtLogin::isEnabledChanged,
                         [this] { m_toggle.setEnabled(m_toggle.isEnabled()); });
    }

    FakeLoginItem m_item;
    LaunchAtLogin m_toggle{m_item};
    std::vector<bool> m_shown; ///< each value that the view was told of
};

TEST_F(LaunchAtLoginTest, IsOffAndAsksNothingBeforeItAppears)
{
    m_item.state = Status::Enabled;
    EXPECT_FALSE(m_toggle.isEnabled());
    EXPECT_EQ(m_toggle.errorMessage(), "");
    EXPECT_EQ(m_item.statusReads, 0);
}

TEST_F(LaunchAtLoginTest, ShowsWhatTheSystemSaysEachTimeItAppears)
{
    m_item.state = Status::Enabled;
    m_toggle.appear();
    EXPECT_TRUE(m_toggle.isEnabled());
    m_item.state = Status::NotRegistered;
    m_toggle.appear();
    EXPECT_FALSE(m_toggle.isEnabled());
    EXPECT_THAT(m_item.calls, IsEmpty());
}

TEST_F(LaunchAtLoginTest, CountsEveryStateButEnabledAsOff)
{
    for (const Status status :
         {Status::NotRegistered, Status::RequiresApproval, Status::NotFound}) {
        m_item.state = Status::Enabled;
        m_toggle.appear();
        m_item.state = status;
        m_toggle.appear();
        EXPECT_FALSE(m_toggle.isEnabled()) << static_cast<int>(status);
    }
}

TEST_F(LaunchAtLoginTest, RegistersWhenSwitchedOnAndUnregistersWhenSwitchedOff)
{
    m_toggle.setEnabled(true);
    m_toggle.setEnabled(false);
    EXPECT_THAT(m_item.calls, ElementsAre("register", "unregister"));
    EXPECT_THAT(m_shown, ElementsAre(true, false));
    EXPECT_EQ(m_item.statusReads, 0);
}

TEST_F(LaunchAtLoginTest, DoesNothingWhenItIsSetToWhatItShows)
{
    m_toggle.setEnabled(false);
    EXPECT_THAT(m_item.calls, IsEmpty());
}

TEST_F(LaunchAtLoginTest, ShowsOffTheNextTimeWhenTheRegistrationNeedsApproval)
{
    m_item.afterRegistration = Status::RequiresApproval;
    m_toggle.setEnabled(true);
    EXPECT_TRUE(m_toggle.isEnabled());
    EXPECT_EQ(m_toggle.errorMessage(), "");
    m_toggle.appear();
    EXPECT_FALSE(m_toggle.isEnabled());
}

TEST_F(LaunchAtLoginTest, SnapsBackAndTellsWhyWhenRegisteringFails)
{
    m_item.failure = "No space left on device";
    m_toggle.setEnabled(true);
    EXPECT_FALSE(m_toggle.isEnabled());
    EXPECT_EQ(m_toggle.errorMessage(), "No space left on device");
    EXPECT_THAT(m_shown, ElementsAre(true, false));
}

TEST_F(LaunchAtLoginTest, StaysOnWhenUnregisteringFails)
{
    m_item.state = Status::Enabled;
    m_toggle.appear();
    m_item.failure = "Read-only file system";
    m_toggle.setEnabled(false);
    EXPECT_TRUE(m_toggle.isEnabled());
    EXPECT_EQ(m_toggle.errorMessage(), "Read-only file system");
}

TEST_F(LaunchAtLoginTest, KeepsTheErrorTextUntilAChangeSucceeds)
{
    m_item.failure = "first";
    m_toggle.setEnabled(true);
    m_toggle.appear();
    EXPECT_EQ(m_toggle.errorMessage(), "first");
    m_item.failure = "second";
    m_toggle.setEnabled(true);
    EXPECT_EQ(m_toggle.errorMessage(), "second");
    m_item.failure.reset();
    m_toggle.setEnabled(true);
    EXPECT_EQ(m_toggle.errorMessage(), "");
    EXPECT_TRUE(m_toggle.isEnabled());
}

TEST_F(LaunchAtLoginTest, NeverLoopsWithAViewThatHandsItsValuesBack)
{
    bindBothWays();
    m_item.failure = "no";
    m_toggle.setEnabled(true);
    EXPECT_THAT(m_item.calls, ElementsAre("register"));
    EXPECT_EQ(m_toggle.errorMessage(), "no");
    m_item.state = Status::Enabled;
    m_toggle.appear();
    EXPECT_THAT(m_item.calls, ElementsAre("register"));
}

} // namespace
