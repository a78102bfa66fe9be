// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/SystemTexts.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

TEST(SystemTexts, SpeakOfTheMenuBarOnAMac)
{
    EXPECT_EQ(SystemTexts::ofMac().description,
              "Native macOS menu bar utility for developers. Shows every listening port, "
              "classified by tier, with one-click kill.");
    EXPECT_EQ(SystemTexts::ofMac().whereItLives, "Tarnwick lives in your menu bar.");
}

TEST(SystemTexts, SpeakOfTheTrayOnLinux)
{
    EXPECT_EQ(SystemTexts::ofLinux().description,
              "Native Linux tray utility for developers. Shows every listening port, "
              "classified by tier, with one-click kill.");
    EXPECT_EQ(SystemTexts::ofLinux().whereItLives, "Tarnwick lives in your system tray.");
}

TEST(SystemTexts, AreThoseOfTheSystemThatThisIsBuiltFor)
{
#ifdef __linux__
    EXPECT_EQ(&SystemTexts::ofThisSystem(), &SystemTexts::ofLinux());
#else
    EXPECT_EQ(&SystemTexts::ofThisSystem(), &SystemTexts::ofMac());
#endif
}

} // namespace
} // namespace Tarnwick
