// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/CurrentDesktop.h"

#include "Platform/linux/DesktopEntry.h"

#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ostream>

namespace Tarnwick {
namespace {

struct Case
{
    const char *desktop;
    const char *lines; ///< of the entry
    bool isShown;
    const char *whenMadeToShow = nullptr; ///< the lines then; as before without
};

EntryKeys keysOf(const DesktopEntry &entry, const CurrentDesktop &desktop)
{
    return EntryKeys::read(entry.text(), desktop.reader()).value();
}

void PrintTo(const Case &one, std::ostream *stream)
{
    *stream << one.desktop << " with " << one.lines;
}

class CurrentDesktopTest : public testing::TestWithParam<Case>
{
protected:
    static DesktopEntry parsed(const QByteArray &lines)
    {
        return DesktopEntry::parse("[Desktop Entry]\nName=x\n" + lines).value();
    }
};

TEST_P(CurrentDesktopTest, ShowsWhatIsMeantForIt)
{
    const CurrentDesktop desktop(GetParam().desktop);
    EXPECT_EQ(desktop.shows(keysOf(parsed(GetParam().lines), desktop)), GetParam().isShown);
}

TEST_P(CurrentDesktopTest, IsMadeToShowByTheSmallestChange)
{
    const CurrentDesktop desktop(GetParam().desktop);
    DesktopEntry entry = parsed(GetParam().lines);
    desktop.makeShow(entry);
    EXPECT_TRUE(desktop.shows(keysOf(entry, desktop)));
    const bool isChanged = GetParam().whenMadeToShow != nullptr;
    EXPECT_EQ(entry.text(),
              parsed(isChanged ? GetParam().whenMadeToShow : GetParam().lines).text());
}

INSTANTIATE_TEST_SUITE_P(
    Entries, CurrentDesktopTest,
    testing::Values(
        Case{"GNOME", "", true}, Case{"", "", true}, Case{"GNOME", "OnlyShowIn=\n", false, ""},
        Case{"GNOME", "OnlyShowIn= ;\n", false, ""}, Case{"KDE", "OnlyShowIn=\n", true, ""},
        Case{"GNOME", "OnlyShowIn=KDE;GNOME;\n", true},
        Case{"GNOME", "OnlyShowIn=GNOME\n", true, "OnlyShowIn=GNOME;\n"},
        Case{"ubuntu:GNOME", "OnlyShowIn=GNOME;\n", true},
        Case{"GNOME", "OnlyShowIn=KDE;\n", false, "OnlyShowIn=KDE;GNOME;\n"},
        Case{"GNOME", "OnlyShowIn=gnome;\n", false, "OnlyShowIn=gnome;GNOME;\n"},
        Case{"ubuntu:GNOME", "OnlyShowIn=KDE;\n", false, "OnlyShowIn=KDE;ubuntu;\n"},
        Case{"", "OnlyShowIn=KDE;\n", false, ""}, Case{"", "NotShowIn=KDE;\n", true},
        Case{"GNOME", "NotShowIn=KDE;\n", true}, Case{"GNOME", "NotShowIn=GNOME;\n", false, ""},
        Case{"ubuntu:GNOME", "NotShowIn=KDE;GNOME;\n", false, "NotShowIn=KDE;\n"},
        Case{"GNOME", "OnlyShowIn=KDE\\;GNOME;\n", false, ""},
        Case{"GNOME", "OnlyShowIn=a;b\\;GNOME;\n", false, "OnlyShowIn=a;GNOME;\n"},
        Case{"GNOME", "OnlyShowIn=a;\\q;\n", true, ""},
        Case{"GNOME", "NotShowIn=GNOME \n", true, "NotShowIn=GNOME ;\n"},
        Case{"KDE", "OnlyShowIn=KDE \n", true, "OnlyShowIn=KDE;\n"},
        Case{"KDE", "OnlyShowIn=KDE;\nOnlyShowIn=GNOME;\n", true, "OnlyShowIn=KDE;\n"},
        Case{"GNOME", "OnlyShowIn=KDE;\nOnlyShowIn=GNOME;\n", true, "OnlyShowIn=GNOME;\n"},
        Case{"GNOME", "OnlyShowIn=GNOME;\nOnlyShowIn=KDE;\n", false, "OnlyShowIn=KDE;GNOME;\n"},
        // The names are taken in their order.
        Case{"ubuntu:GNOME", "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", true},
        Case{"GNOME:ubuntu", "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", false,
             "OnlyShowIn=ubuntu;\n"}));

/// With a file "there" in the configuration folder.
struct ConditionCase
{
    const char *desktop;
    const char *line; ///< of the entry
    bool isOff;
};

void PrintTo(const ConditionCase &one, std::ostream *stream)
{
    *stream << one.desktop << " with " << one.line;
}

class CurrentDesktopConditionTest : public testing::TestWithParam<ConditionCase>
{
protected:
    CurrentDesktopConditionTest() { std::ofstream(m_folder.path() / "there").flush(); }

    TemporaryFolder m_folder;
    ScopedEnvironment m_configuration{"XDG_CONFIG_HOME", m_folder.path().string()};
    /// Without the programs that check conditions for systemd.
    ScopedEnvironment m_programs{"PATH", m_folder.path().string()};
};

TEST_P(CurrentDesktopConditionTest, IsSwitchedOffUnlessKnownToBeTrue)
{
    const CurrentDesktop desktop(GetParam().desktop);
    DesktopEntry entry =
        DesktopEntry::parse("[Desktop Entry]\n" + QByteArray(GetParam().line) + "\n").value();
    EXPECT_EQ(desktop.isSwitchedOff(keysOf(entry, desktop)), GetParam().isOff);
    desktop.switchOn(entry);
    EXPECT_FALSE(desktop.isSwitchedOff(keysOf(entry, desktop)));
    EXPECT_EQ(!entry.text().contains(GetParam().line), GetParam().isOff) << entry.text().data();
}

INSTANTIATE_TEST_SUITE_P(
    Conditions, CurrentDesktopConditionTest,
    testing::Values(ConditionCase{"GNOME", "AutostartCondition=if-exists there", false},
                    ConditionCase{"GNOME", "AutostartCondition=if-exists  there", false},
                    ConditionCase{"GNOME", "AutostartCondition=IF-EXISTS /there", false},
                    ConditionCase{"GNOME", "AutostartCondition=if-exists there ", true},
                    ConditionCase{"GNOME", "AutostartCondition=if-exists gone", true},
                    ConditionCase{"GNOME", "AutostartCondition=unless-exists there", true},
                    ConditionCase{"GNOME", "AutostartCondition=unless-exists gone", false},
                    ConditionCase{"X-Cinnamon", "AutostartCondition=if-exists gone", true},
                    ConditionCase{"MATE", "AutostartCondition=if-exists gone", true},
                    ConditionCase{"MATE", "AutostartCondition=if-exists there", false},
                    ConditionCase{"XFCE", "AutostartCondition=if-exists gone", false},
                    ConditionCase{"GNOME", "AutostartCondition=GSettings a.b c", true},
                    ConditionCase{"GNOME", "AutostartCondition=GNOME3 if-session gnome", true},
                    ConditionCase{"GNOME", "AutostartCondition=", false},
                    ConditionCase{"GNOME", "X-KDE-autostart-condition=a:b:c:false", false},
                    ConditionCase{"KDE", "AutostartCondition=if-exists gone", false},
                    ConditionCase{"KDE", "X-KDE-autostart-condition=a:b:c:false", false}));

TEST(CurrentDesktop, TakesAConditionForOffThatAProgramOfTheSessionChecks)
{
    const TemporaryFolder folder;
    const ScopedEnvironment programs("PATH", folder.path().string());
    for (const char *const name :
         {"kde-systemd-start-condition", "gnome-systemd-autostart-condition"}) {
        std::ofstream(folder.path() / name) << "#!/bin/sh\n";
        std::filesystem::permissions(folder.path() / name, std::filesystem::perms(0755));
    }
    const CurrentDesktop desktop("KDE");
    for (const char *const line :
         {"X-KDE-autostart-condition=a:b:c:true\n", "AutostartCondition=unless-exists gone\n"}) {
        DesktopEntry entry = DesktopEntry::parse("[Desktop Entry]\n" + QByteArray(line)).value();
        EXPECT_TRUE(desktop.isSwitchedOff(keysOf(entry, desktop))) << line;
        desktop.switchOn(entry);
        EXPECT_FALSE(desktop.isSwitchedOff(keysOf(entry, desktop))) << line;
    }
}

TEST(CurrentDesktop, TakesAnEntryWithAPhaseForOffWhereSomeGeneratorsDoNotStartIt)
{
    const QByteArray text = "[Desktop Entry]\nX-GNOME-Autostart-Phase=Applications\n";
    for (const char *const name : {"KDE", "XFCE"}) {
        const CurrentDesktop desktop(name);
        DesktopEntry entry = DesktopEntry::parse(text).value();
        EXPECT_EQ(desktop.isSwitchedOff(keysOf(entry, desktop)),
                  desktop.reader() == EntryReader::Systemd);
        desktop.switchOn(entry);
        EXPECT_FALSE(desktop.isSwitchedOff(keysOf(entry, desktop)));
    }
}

TEST(CurrentDesktop, ReadsTheSwitchOfGnomeInItsFamily)
{
    for (const char *const names : {"GNOME", "ubuntu:GNOME", "Unity:Unity7:ubuntu", "X-Cinnamon",
                                    "Budgie:GNOME", "Pantheon"}) {
        EXPECT_TRUE(CurrentDesktop(names).readsAutostartEnabled()) << names;
    }
    for (const char *const names : {"", "KDE", "XFCE", "MATE", "LXQt", "LXDE", "sway", "gnome"}) {
        EXPECT_FALSE(CurrentDesktop(names).readsAutostartEnabled()) << names;
    }
}

} // namespace
} // namespace Tarnwick
