// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/Preferences.h"

#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSettings>
#include <QString>

#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>

using namespace Tarnwick;

namespace {

class PreferencesTest : public testing::Test
{
protected:
    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "tarnwick.conf"; }

    void write(const std::string &text) const { std::ofstream(file()) << text; }

    /// What another run of the program sees.
    template<class Read>
    [[nodiscard]] auto read(Read read) const
    {
        QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
        return read(Preferences(store));
    }

    [[nodiscard]] bool showsSystemPorts() const
    {
        return read([](const Preferences &stored) { return stored.showSystemPortsByDefault(); });
    }
    [[nodiscard]] std::optional<double> pollInterval() const
    {
        return read([](const Preferences &stored) { return stored.pollInterval(); });
    }
    [[nodiscard]] bool hasSeenOnboarding() const
    {
        return read([](const Preferences &stored) { return stored.hasSeenMenuBarOnboarding(); });
    }

private:
    TemporaryFolder m_folder;
};

struct StoredInterval
{
    const char *text;
    std::optional<double> seconds;

    friend void PrintTo(const StoredInterval &stored, std::ostream *out) { *out << stored.text; }
};

class StoredIntervalTest : public PreferencesTest,
                           public testing::WithParamInterface<StoredInterval>
{
};

} // namespace

TEST_F(PreferencesTest, HaveTheirDefaultsWhenNothingIsStored)
{
    EXPECT_FALSE(showsSystemPorts());
    EXPECT_EQ(pollInterval(), std::nullopt);
    EXPECT_FALSE(hasSeenOnboarding());
}

TEST_F(PreferencesTest, ReadWhatIsStored)
{
    write("[General]\nshowSystemPortsByDefault=true\npollInterval=5\n"
          "hasSeenMenuBarOnboarding=true\n");
    EXPECT_TRUE(showsSystemPorts());
    EXPECT_EQ(pollInterval(), 5.0);
    EXPECT_TRUE(hasSeenOnboarding());
}

TEST_F(PreferencesTest, TakeTheWordsThatPeopleWriteForATruthValue)
{
    for (const char *word : {"1", "yes", "on", "TRUE"}) {
        write(std::string("[General]\nshowSystemPortsByDefault=") + word + "\n");
        EXPECT_TRUE(showsSystemPorts()) << word;
    }
    for (const char *word : {"0", "no", "off", "False"}) {
        write(std::string("[General]\nshowSystemPortsByDefault=") + word + "\n");
        EXPECT_FALSE(showsSystemPorts()) << word;
    }
}

TEST_F(PreferencesTest, TakeATruthValueOfAnotherTypeForAbsent)
{
    write("[General]\nshowSystemPortsByDefault=7\nhasSeenMenuBarOnboarding=true, true\n");
    EXPECT_FALSE(showsSystemPorts());
    EXPECT_FALSE(hasSeenOnboarding());
}

TEST_P(StoredIntervalTest, IsTakenOrLeft)
{
    write(std::string("[General]\npollInterval=") + GetParam().text + "\n");
    EXPECT_EQ(pollInterval(), GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(
    Preferences, StoredIntervalTest,
    testing::Values(StoredInterval{"2", 2.0}, StoredInterval{"60", 60.0},
                    StoredInterval{"2.5", 2.5}, StoredInterval{"1.5", std::nullopt},
                    StoredInterval{"90", std::nullopt}, StoredInterval{"60.001", std::nullopt},
                    StoredInterval{"-5", std::nullopt}, StoredInterval{"nan", std::nullopt},
                    StoredInterval{"inf", std::nullopt}, StoredInterval{"true", std::nullopt},
                    StoredInterval{"ten", std::nullopt}, StoredInterval{"5, 6", std::nullopt},
                    StoredInterval{"", std::nullopt}));

TEST_F(PreferencesTest, RememberTheOnboardingAtOnce)
{
    QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
    Preferences(store).setHasSeenMenuBarOnboarding();
    EXPECT_TRUE(hasSeenOnboarding());
}

TEST_F(PreferencesTest, RememberTheDeclinedMoveAtOnce)
{
    QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
    Preferences preferences(store);
    EXPECT_FALSE(preferences.declinedMoveToApplications());
    preferences.setDeclinedMoveToApplications();
    EXPECT_TRUE(
        read([](const Preferences &stored) { return stored.declinedMoveToApplications(); }));
}

TEST_F(PreferencesTest, StoreWhatTheSettingsChange)
{
    {
        QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
        Preferences preferences(store);
        preferences.setPollInterval(60.0);
        preferences.setShowSystemPortsByDefault(true);
        EXPECT_EQ(preferences.pollInterval(), 60.0);
        EXPECT_TRUE(preferences.showSystemPortsByDefault());
    }
    EXPECT_EQ(pollInterval(), 60.0);
    EXPECT_TRUE(showsSystemPorts());
}

TEST_F(PreferencesTest, HoldFourKeysAndNoOthers)
{
    QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
    Preferences preferences(store);
    preferences.setPollInterval(3.0);
    preferences.setShowSystemPortsByDefault(false);
    preferences.setHasSeenMenuBarOnboarding();
    preferences.setDeclinedMoveToApplications();
    EXPECT_THAT(store.allKeys(), testing::UnorderedElementsAre(
                                     "pollInterval", "showSystemPortsByDefault",
                                     "hasSeenMenuBarOnboarding", "declinedMoveToApplications"));
}

TEST_F(PreferencesTest, KeepTheOtherKeysWhenOneIsWritten)
{
    write("[General]\npollInterval=5\n");
    {
        QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
        Preferences(store).setHasSeenMenuBarOnboarding();
    }
    EXPECT_EQ(pollInterval(), 5.0);
}

TEST_F(PreferencesTest, HaveTheirDefaultsWhenTheFileIsDamaged)
{
    write("[General\n\x01\xff pollInterval ;;; = [[[\n=\n%zz%\n");
    EXPECT_FALSE(showsSystemPorts());
    EXPECT_EQ(pollInterval(), std::nullopt);
}

TEST_F(PreferencesTest, HoldInMemoryWhatCannotBeStored)
{
    // A folder stands where the file would be: not even root can write it.
    std::filesystem::create_directory(file());
    QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
    Preferences preferences(store);
    preferences.setHasSeenMenuBarOnboarding();
    EXPECT_TRUE(preferences.hasSeenMenuBarOnboarding());
}

TEST_F(PreferencesTest, TellWhetherAChoiceCouldBeStored)
{
    std::filesystem::create_directory(file());
    QSettings store(QString::fromStdString(file().string()), QSettings::IniFormat);
    Preferences preferences(store);
    EXPECT_FALSE(preferences.setShowSystemPortsByDefault(true));
    EXPECT_FALSE(preferences.setPollInterval(5.0));
    EXPECT_TRUE(preferences.showSystemPortsByDefault());
    EXPECT_EQ(preferences.file().toStdString(), file().string());
    std::filesystem::remove(file());
    EXPECT_TRUE(preferences.setShowSystemPortsByDefault(true));
    EXPECT_TRUE(showsSystemPorts());
    EXPECT_EQ(pollInterval(), 5.0);
}

TEST_F(PreferencesTest, TellWhetherAChoiceCouldBeStoredInTheSystemsOwnStore)
{
    // The kind of store that the application has.
    QSettings store(QString::fromStdString(file().string()), QSettings::NativeFormat);
    Preferences preferences(store);
    EXPECT_TRUE(preferences.setPollInterval(5.0));
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    EXPECT_FALSE(preferences.setPollInterval(6.0));
}
