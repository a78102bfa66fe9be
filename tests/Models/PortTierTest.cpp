// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/PortTier.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

struct TierCase
{
    PortTier tier;
    std::string_view rawValue;
    int red;
    int green;
    int blue;
};

constexpr std::array<TierCase, 4> tierCases{{
    {PortTier::System, "system", 71, 85, 105},
    {PortTier::App, "app", 96, 165, 250},
    {PortTier::Dev, "dev", 74, 222, 128},
    {PortTier::Unknown, "unknown", 251, 191, 36},
}};

} // namespace

TEST(PortTier, ListsEveryTierInTheOrderInWhichTheyAreShown)
{
    EXPECT_THAT(allPortTiers, testing::ElementsAre(PortTier::System, PortTier::App, PortTier::Dev,
                                                   PortTier::Unknown));
}

TEST(PortTier, HasATextForEveryTier)
{
    for (const TierCase &expected : tierCases) {
        EXPECT_EQ(rawValue(expected.tier), expected.rawValue);
    }
}

TEST(PortTier, IsMadeFromItsText)
{
    for (const TierCase &expected : tierCases) {
        EXPECT_EQ(portTierFromRawValue(expected.rawValue), expected.tier);
    }
}

TEST(PortTier, IsNotMadeFromAnyOtherText)
{
    for (const std::string_view text : {"System", "DEV", "", " dev", "dev ", "de", "devs", "all"}) {
        EXPECT_EQ(portTierFromRawValue(text), std::nullopt) << text;
    }
}

TEST(PortTier, HasAnOpaqueAccentColour)
{
    for (const TierCase &expected : tierCases) {
        const Color color = accentColor(expected.tier);
        EXPECT_DOUBLE_EQ(color.red, expected.red / 255.0) << expected.rawValue;
        EXPECT_DOUBLE_EQ(color.green, expected.green / 255.0) << expected.rawValue;
        EXPECT_DOUBLE_EQ(color.blue, expected.blue / 255.0) << expected.rawValue;
        EXPECT_DOUBLE_EQ(color.opacity, 1.0) << expected.rawValue;
    }
}
