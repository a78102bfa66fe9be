// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AboutTexts.h"

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

const QString versionKey = QStringLiteral("CFBundleShortVersionString");

TEST(AboutTexts, TellNameVersionAndPurpose)
{
    for (const SystemTexts *system : {&SystemTexts::ofMac(), &SystemTexts::ofLinux()}) {
        const AboutTexts texts({{versionKey, "1.2.0"}}, *system);
        EXPECT_EQ(texts.name(), "Tarnwick");
        EXPECT_EQ(texts.version(), "Version 1.2.0");
        EXPECT_EQ(texts.description(), system->description);
    }
}

TEST(AboutTexts, ShowADashForAMissingVersion)
{
    EXPECT_EQ(AboutTexts({}).version(), QStringLiteral("Version \u2014"));
    EXPECT_EQ(shortVersion({{"CFBundleVersion", "7"}}), QStringLiteral("\u2014"));
}

TEST(AboutTexts, ShowADashForAVersionThatIsNoText)
{
    EXPECT_EQ(shortVersion({{versionKey, 1.2}}), QStringLiteral("\u2014"));
}

} // namespace
