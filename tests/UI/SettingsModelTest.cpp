// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/SettingsModel.h"

#include "App/AppState.h"
#include "App/Preferences.h"
#include "Core/DiffEngine.h"
#include "Core/NetworkMonitor.h"
#include "tests/Core/ScriptedSource.h"
#include "tests/Support/EventLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <ostream>
#include <string>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SettingsModelTest : public testing::Test
{
protected:
    void note(const std::string &step) { m_steps.push_back(step); }
    [[nodiscard]] std::string storedInterval() const
    {
        return m_store.value("pollInterval").toString().toStdString();
    }

    QTemporaryDir m_folder;
    QSettings m_store{m_folder.filePath("tarnwick.conf"), QSettings::IniFormat};
    Preferences m_preferences{m_store};
    AppState m_state;
    double m_monitorInterval = 10.0;
    std::vector<std::string> m_steps;
    SettingsModel m_model{m_preferences,
                          m_state,
                          {
                              .pollInterval = [this] { return m_monitorInterval; },
                              .setPollInterval =
                                  [this](double seconds) {
                                      note("stored " + storedInterval());
                                      note("interval " + std::to_string(static_cast<int>(seconds)));
                                      m_monitorInterval = seconds;
                                  },
                              .stop = [this] { note("stop"); },
                              .start = [this] { note("start"); },
                          }};
};

struct Text
{
    double seconds;
    const char *text;

    friend void PrintTo(const Text &one, std::ostream *out) { *out << one.seconds; }
};

class IntervalTextTest : public SettingsModelTest, public testing::WithParamInterface<Text>
{
};

class ForbiddenIntervalTest : public SettingsModelTest,
                              public testing::WithParamInterface<const char *>
{
};

} // namespace

TEST_F(SettingsModelTest, HasTheDefaultsWhenNothingIsStored)
{
    EXPECT_FALSE(m_model.showSystemPortsByDefault());
    EXPECT_EQ(m_model.pollInterval(), 10.0);
    EXPECT_EQ(m_model.pollIntervalText(), "10s");
    EXPECT_EQ(m_model.shortestPollInterval(), 2.0);
    EXPECT_EQ(m_model.longestPollInterval(), 60.0);
    EXPECT_EQ(m_model.pollIntervalStep(), 1.0);
}

TEST_F(SettingsModelTest, StoresAndSetsAndStopsAndThenStartsFromTheEventLoop)
{
    m_model.setPollInterval(5.0);
    EXPECT_THAT(m_steps, ElementsAre("stored 5", "interval 5", "stop"));
    ASSERT_TRUE(await([this] { return m_steps.size() == 4; }));
    EXPECT_EQ(m_steps.back(), "start");
}

TEST_F(SettingsModelTest, DoesNothingWhenTheIntervalStaysWhatItIs)
{
    const QSignalSpy changes(&m_model, &SettingsModel::pollIntervalChanged);
    m_model.setPollInterval(10.0);
    EXPECT_THAT(m_steps, IsEmpty());
    EXPECT_EQ(changes.count(), 0);
    EXPECT_FALSE(m_store.contains("pollInterval"));
}

TEST_F(SettingsModelTest, TellsThatTheIntervalHasChanged)
{
    const QSignalSpy changes(&m_model, &SettingsModel::pollIntervalChanged);
    m_model.setPollInterval(60.0);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(m_model.pollInterval(), 60.0);
    EXPECT_EQ(m_model.pollIntervalText(), "60s");
}

TEST_P(IntervalTextTest, IsCutToWholeSeconds)
{
    m_store.setValue("pollInterval", GetParam().seconds);
    EXPECT_EQ(m_model.pollIntervalText().toStdString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(SettingsModel, IntervalTextTest,
                         testing::Values(Text{2.0, "2s"}, Text{2.9, "2s"}, Text{9.999, "9s"},
                                         Text{60.0, "60s"}));

TEST_P(ForbiddenIntervalTest, ShowsTheOneThatTheMonitorUses)
{
    m_store.setValue("pollInterval", GetParam());
    EXPECT_EQ(m_model.pollInterval(), 10.0);
    EXPECT_EQ(m_model.pollIntervalText(), "10s");
}

INSTANTIATE_TEST_SUITE_P(SettingsModel, ForbiddenIntervalTest,
                         testing::Values("1.5", "90", "-1", "often", "", "nan"));

TEST_F(SettingsModelTest, StoresTheChoiceOfSystemPortsAndAppliesItAtOnce)
{
    const QSignalSpy changes(&m_model, &SettingsModel::showSystemPortsByDefaultChanged);
    m_model.setShowSystemPortsByDefault(true);
    EXPECT_TRUE(m_store.value("showSystemPortsByDefault").toBool());
    EXPECT_TRUE(m_state.showSystemPorts());
    m_model.setShowSystemPortsByDefault(false);
    EXPECT_FALSE(m_store.value("showSystemPortsByDefault").toBool());
    EXPECT_FALSE(m_state.showSystemPorts());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(SettingsModelTest, AppliesTheChoiceWhateverThePanelShowsMeanwhile)
{
    m_state.setShowSystemPorts(true);
    m_model.setShowSystemPortsByDefault(true);
    m_state.setShowSystemPorts(true);
    m_model.setShowSystemPortsByDefault(false);
    EXPECT_FALSE(m_state.showSystemPorts());
}

TEST_F(SettingsModelTest, AppliesWhatSomebodyElseHasStoredMeanwhile)
{
    const QSignalSpy changes(&m_model, &SettingsModel::showSystemPortsByDefaultChanged);
    m_store.setValue("showSystemPortsByDefault", true);
    m_model.setShowSystemPortsByDefault(true);
    EXPECT_TRUE(m_state.showSystemPorts());
    EXPECT_EQ(changes.count(), 1);

    m_store.setValue("pollInterval", 7.0);
    m_model.setPollInterval(7.0);
    EXPECT_EQ(m_monitorInterval, 7.0);
}

TEST_F(SettingsModelTest, GoesOnWhenNothingCanBeStored)
{
    // A folder stands where the file would be: not even root can write it.
    ASSERT_TRUE(QDir().mkdir(m_store.fileName()));
    m_model.setPollInterval(7.0);
    m_model.setShowSystemPortsByDefault(true);
    m_store.sync();
    EXPECT_EQ(m_model.pollInterval(), 7.0);
    EXPECT_TRUE(m_model.showSystemPortsByDefault());
    EXPECT_EQ(m_monitorInterval, 7.0);
}

TEST_F(SettingsModelTest, LetsARealMonitorScanAtOnceAndThenInTheNewPeriod)
{
    ScriptedSource source;
    DiffEngine engine(m_state);
    NetworkMonitor monitor(source, engine);
    SettingsModel model(
        m_preferences, m_state,
        {
            .pollInterval = [&monitor] { return monitor.pollInterval(); },
            .setPollInterval = [&monitor](double seconds) { monitor.setPollInterval(seconds); },
            .stop = [&monitor] { monitor.stop(); },
            .start = [&monitor] { monitor.start(); },
        });
    model.setPollInterval(2.0);
    ASSERT_TRUE(await([&source] { return source.requests.size() >= 2; }));
    EXPECT_GE(source.requests[1] - source.requests[0], std::chrono::milliseconds(1900));
}
