// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/SettingsWindowOpener.h"

#include <gtest/gtest.h>

using namespace Tarnwick;

TEST(SettingsWindowOpener, OpensTheWindowEachTimeThatItIsAsked)
{
    SettingsWindowOpener opener;
    int openings = 0;
    opener.setOpen([&openings] { ++openings; });
    opener.show();
    opener.show();
    EXPECT_EQ(openings, 2);
}

TEST(SettingsWindowOpener, DoesNothingBeforeThereIsAWindowToOpen)
{
    const SettingsWindowOpener opener;
    opener.show();
}

TEST(SettingsWindowOpener, IsSharedByTheWholeProgram)
{
    EXPECT_EQ(&SettingsWindowOpener::shared(), &SettingsWindowOpener::shared());
}
