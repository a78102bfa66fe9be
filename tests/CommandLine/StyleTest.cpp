// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Style.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace Tarnwick {

namespace {

Environment colorful()
{
    return {.home = "", .noColor = "", .colorTerm = "truecolor", .term = "xterm-256color"};
}

} // namespace

TEST(Style, HasNoColorsWhereThereIsNoTerminal)
{
    EXPECT_EQ(colorDepth(colorful(), false), ColorDepth::None);
}

TEST(Style, HasTheColorsThatTheTerminalTellsOf)
{
    Environment environment = colorful();
    EXPECT_EQ(colorDepth(environment, true), ColorDepth::TrueColor);
    environment.colorTerm = "24bit";
    EXPECT_EQ(colorDepth(environment, true), ColorDepth::TrueColor);
    environment.colorTerm = "";
    EXPECT_EQ(colorDepth(environment, true), ColorDepth::Palette256);
    environment.colorTerm = "yes";
    EXPECT_EQ(colorDepth(environment, true), ColorDepth::Palette256);
}

TEST(Style, HasNoColorsWhereTheUserWantsNone)
{
    Environment environment = colorful();
    environment.noColor = "0";
    EXPECT_EQ(colorDepth(environment, true), ColorDepth::None);
}

TEST(Style, HasNoColorsOnADumbTerminalAndOnOneOfNoKnownType)
{
    for (const char *term : {"dumb", ""}) {
        Environment environment = colorful();
        environment.term = term;
        EXPECT_EQ(colorDepth(environment, true), ColorDepth::None) << term;
    }
}

TEST(Style, WritesTheAccentColorOfATierIn24Bits)
{
    const Color color = accentColor(PortTier::Dev);
    const auto byte = [](double component) { return std::to_string(std::lround(component * 255)); };
    EXPECT_EQ(Style(ColorDepth::TrueColor).accent(PortTier::Dev), "\x1b[38;2;" + byte(color.red) +
                                                                      ";" + byte(color.green) +
                                                                      ";" + byte(color.blue) + "m");
}

TEST(Style, WritesADifferentPaletteColorForEachTier)
{
    const Style style(ColorDepth::Palette256);
    for (const PortTier tier : allPortTiers) {
        EXPECT_TRUE(style.accent(tier).starts_with("\x1b[38;5;"));
        for (const PortTier other : allPortTiers) {
            EXPECT_EQ(tier == other, style.accent(tier) == style.accent(other));
        }
    }
}

TEST(Style, WritesNothingWithoutColors)
{
    const Style style(ColorDepth::None);
    EXPECT_EQ(style.accent(PortTier::Dev), "");
    EXPECT_EQ(style.bold(), "");
    EXPECT_EQ(style.dimmed(), "");
    EXPECT_EQ(style.reset(), "");
}

} // namespace Tarnwick
