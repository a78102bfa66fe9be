// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/CurrentDesktop.h"

#include "Platform/linux/DesktopEntry.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

struct Case
{
    const char *desktop;
    const char *lines; ///< of the entry
    bool isShown;
    const char *whenMadeToShow = nullptr; ///< the lines then; as before without
};

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
    EXPECT_EQ(CurrentDesktop(GetParam().desktop).shows(parsed(GetParam().lines)),
              GetParam().isShown);
}

TEST_P(CurrentDesktopTest, IsMadeToShowByTheSmallestChange)
{
    const CurrentDesktop desktop(GetParam().desktop);
    DesktopEntry entry = parsed(GetParam().lines);
    desktop.makeShow(entry);
    EXPECT_TRUE(desktop.shows(entry));
    const bool isChanged = GetParam().whenMadeToShow != nullptr;
    EXPECT_EQ(entry.text(),
              parsed(isChanged ? GetParam().whenMadeToShow : GetParam().lines).text());
}

INSTANTIATE_TEST_SUITE_P(
    Entries, CurrentDesktopTest,
    testing::Values(
        Case{"GNOME", "", true}, Case{"", "", true}, Case{"GNOME", "OnlyShowIn=\n", true},
        Case{"GNOME", "OnlyShowIn=KDE;GNOME;\n", true}, Case{"GNOME", "OnlyShowIn=GNOME\n", true},
        Case{"ubuntu:GNOME", "OnlyShowIn=GNOME;\n", true},
        Case{"GNOME", "OnlyShowIn=KDE;\n", false, "OnlyShowIn=KDE;GNOME;\n"},
        Case{"GNOME", "OnlyShowIn=gnome;\n", false, "OnlyShowIn=gnome;GNOME;\n"},
        Case{"ubuntu:GNOME", "OnlyShowIn=KDE;\n", false, "OnlyShowIn=KDE;ubuntu;\n"},
        Case{"", "OnlyShowIn=KDE;\n", false, ""}, Case{"", "NotShowIn=KDE;\n", true},
        Case{"GNOME", "NotShowIn=KDE;\n", true}, Case{"GNOME", "NotShowIn=GNOME;\n", false, ""},
        Case{"ubuntu:GNOME", "NotShowIn=KDE;GNOME;\n", false, "NotShowIn=KDE;\n"},
        // The names are taken in their order.
        Case{"ubuntu:GNOME", "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", true},
        Case{"GNOME:ubuntu", "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", false,
             "OnlyShowIn=ubuntu;\n"}));

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
