// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/StoredBool.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <QVariant>

namespace Tarnwick {
namespace {

TEST(StoredBool, TakesTheWordsThatPeopleWrite)
{
    for (const char *word : {"true", "TRUE", "yes", "Yes", "on", "On", "1", " 1 "}) {
        EXPECT_EQ(storedBool(QString::fromLatin1(word)), true) << word;
    }
    for (const char *word : {"false", "False", "no", "NO", "off", "Off", "0"}) {
        EXPECT_EQ(storedBool(QString::fromLatin1(word)), false) << word;
    }
}

TEST(StoredBool, TakesWhatTheProgramItselfStores)
{
    EXPECT_EQ(storedBool(true), true);
    EXPECT_EQ(storedBool(false), false);
    EXPECT_EQ(storedBool(1), true);
    EXPECT_EQ(storedBool(0), false);
}

TEST(StoredBool, TakesNothingElse)
{
    for (const char *word : {"", "2", "-1", "7", "y", "ja", "truee", "tru", "on off", "0.0"}) {
        EXPECT_EQ(storedBool(QString::fromLatin1(word)), std::nullopt) << word;
    }
    EXPECT_EQ(storedBool({}), std::nullopt);
    EXPECT_EQ(storedBool(QStringList{"true", "true"}), std::nullopt);
    EXPECT_EQ(storedBool(7), std::nullopt);
}

} // namespace
} // namespace Tarnwick
