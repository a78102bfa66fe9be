// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitFailure.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

std::string wordsOf(const char *error)
{
    return PackageKitFailure::words(QString::fromLatin1(error), QStringLiteral("the message"));
}

TEST(PackageKitFailure, SaysWhatAnErrorOfTheBusMeans)
{
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.ServiceUnknown"),
              "PackageKit is not installed or not running.");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.NameHasNoOwner"),
              "PackageKit is not installed or not running.");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.NoReply"),
              "PackageKit ended before it had answered.");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.Spawn.ChildExited"),
              "PackageKit could not be started: the message");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.Disconnected"),
              "The connection to the system bus was lost.");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.AccessDenied"),
              "The system does not allow this use of PackageKit: the message");
}

TEST(PackageKitFailure, LeavesTheWordsOfPackageKit)
{
    EXPECT_EQ(wordsOf("org.freedesktop.PackageKit.Transaction.NotRunning"), "the message");
    EXPECT_EQ(wordsOf("org.freedesktop.DBus.Error.LimitsExceeded"), "the message");
}

TEST(PackageKitFailure, KnowsARefusal)
{
    const auto isRefusal = [](const char *error) {
        return PackageKitFailure::isRefusal(QString::fromLatin1(error));
    };
    EXPECT_TRUE(isRefusal("org.freedesktop.DBus.Error.AccessDenied"));
    EXPECT_TRUE(isRefusal("org.freedesktop.PackageKit.Transaction.RefusedByPolicy"));
    EXPECT_FALSE(isRefusal("org.freedesktop.DBus.Error.NoReply"));
}

} // namespace
} // namespace Tarnwick
