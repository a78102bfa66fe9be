// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/MoveToApplications.h"

#include "App/Preferences.h"
#include "Platform/fake/FakeApplicationBundle.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSettings>

#include <optional>
#include <string>
#include <vector>

using namespace Tarnwick;
using Outcome = MoveToApplications::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MoveToApplicationsTest : public testing::Test
{
protected:
    void prompt()
    {
        m_outcome = MoveToApplications::promptIfNeeded(m_bundle, m_preferences,
                                                       [this](const ModalQuestion &question) {
                                                           m_asked.push_back(question);
                                                           return m_answer;
                                                       });
    }

    bool asksFrom(const std::string &place)
    {
        m_bundle.place = place;
        m_asked.clear();
        prompt();
        return !m_asked.empty();
    }

    TemporaryFolder m_folder;
    QSettings m_store{QString::fromStdString(m_folder.path() / "tarnwick.conf"),
                      QSettings::IniFormat};
    Preferences m_preferences{m_store};
    FakeApplicationBundle m_bundle;
    ModalAnswer m_answer = ModalAnswer::FirstButton;
    std::vector<ModalQuestion> m_asked;
    Outcome m_outcome = Outcome::Stays;
};

TEST_F(MoveToApplicationsTest, AsksInTheseWords)
{
    prompt();
    ASSERT_EQ(m_asked.size(), 1U);
    EXPECT_EQ(m_asked.front().message, "Move Tarnwick to Applications?");
    EXPECT_EQ(m_asked.front().informativeText,
              "Tarnwick works best when it lives in your Applications folder. Moving it there "
              "ensures it launches reliably and that automatic updates apply cleanly.");
    EXPECT_EQ(m_asked.front().firstButton, "Move to Applications");
    EXPECT_EQ(m_asked.front().secondButton, "Do Not Move");
}

TEST_F(MoveToApplicationsTest, NeverAsksWhereItIsInPlace)
{
    EXPECT_FALSE(asksFrom("/Applications/Tarnwick.app"));
    EXPECT_FALSE(asksFrom("/Applications/Tools/Tarnwick.app"));
    EXPECT_FALSE(asksFrom("/Users/ann/Applications/Tarnwick.app"));
    EXPECT_EQ(m_outcome, Outcome::Stays);
    EXPECT_THAT(m_bundle.calls, IsEmpty());
}

TEST_F(MoveToApplicationsTest, AsksInAFolderWhoseNameOnlyBeginsAlike)
{
    EXPECT_TRUE(asksFrom("/Applications2/Tarnwick.app"));
    EXPECT_TRUE(asksFrom("/Users/ann/Applications2/Tarnwick.app"));
    EXPECT_TRUE(asksFrom("/Users/bob/Applications/Tarnwick.app"));
}

TEST_F(MoveToApplicationsTest, NeverAsksWhereACopyWouldNotRun)
{
    m_bundle.canBeMoved = false;
    EXPECT_FALSE(asksFrom("/Users/ann/source/tarnwick/build/bin"));
}

TEST_F(MoveToApplicationsTest, NeverAsksAgainOnceDeclined)
{
    m_answer = ModalAnswer::Other;
    prompt();
    EXPECT_THAT(m_bundle.calls, IsEmpty());
    EXPECT_EQ(m_outcome, Outcome::Stays);
    EXPECT_EQ(QSettings(m_store.fileName(), QSettings::IniFormat)
                  .value("declinedMoveToApplications")
                  .toString(),
              "true");
    prompt();
    EXPECT_EQ(m_asked.size(), 1U);
}

TEST_F(MoveToApplicationsTest, AsksWhenTheStoredAnswerIsDamaged)
{
    m_store.setValue("declinedMoveToApplications", "perhaps");
    prompt();
    EXPECT_EQ(m_asked.size(), 1U);
}

TEST_F(MoveToApplicationsTest, CopiesAndStartsTheCopyAndEnds)
{
    prompt();
    EXPECT_THAT(m_bundle.calls,
                ElementsAre("privileged: rm -rf '/Applications/Tarnwick.app' && cp -R "
                            "'/Users/ann/Downloads/Tarnwick.app' /Applications/",
                            "launch: /bin/sh [-c] [sleep 1 && open '/Applications/Tarnwick.app']",
                            "terminate"));
    EXPECT_EQ(m_bundle.takenTo, "/Applications/Tarnwick.app");
    EXPECT_EQ(m_outcome, Outcome::Moved);
    EXPECT_FALSE(m_store.contains("declinedMoveToApplications"));
}

TEST_F(MoveToApplicationsTest, GivesTheShellAPathWithASingleQuoteAsOneWord)
{
    m_bundle.place = "/Users/ann/It's here/Tarn'wick.app";
    prompt();
    EXPECT_EQ(m_bundle.calls.front(),
              R"(privileged: rm -rf '/Applications/Tarn'\''wick.app' && cp -R )"
              R"('/Users/ann/It'\''s here/Tarn'\''wick.app' /Applications/)");
}

TEST_F(MoveToApplicationsTest, GoesOnWhereItIsWhenThePrivilegeIsRefused)
{
    m_bundle.outcome = ApplicationBundle::Privileged::Failed;
    prompt();
    EXPECT_EQ(m_bundle.calls.size(), 1U);
    EXPECT_EQ(m_bundle.takenTo, "");
    EXPECT_EQ(m_outcome, Outcome::Stays);
    EXPECT_FALSE(m_store.contains("declinedMoveToApplications"));
    prompt();
    EXPECT_EQ(m_asked.size(), 2U);
}

TEST_F(MoveToApplicationsTest, GoesOnWithTheRelaunchWhenTheCommandCouldNotEvenBeMade)
{
    m_bundle.outcome = ApplicationBundle::Privileged::Impossible;
    prompt();
    EXPECT_EQ(m_bundle.calls.size(), 3U);
    EXPECT_EQ(m_bundle.calls.back(), "terminate");
    EXPECT_EQ(m_outcome, Outcome::Moved);
}

} // namespace
