// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/HelperProtocol.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Tarnwick;

TEST(HelperProtocol, NamesTheHelper)
{
    EXPECT_EQ(HelperProtocol::serviceName, "com.velmora.tarnwick.helper");
    EXPECT_EQ(HelperProtocol::objectPath, "/com/velmora/tarnwick/helper");
    EXPECT_EQ(HelperProtocol::interfaceName, "com.velmora.tarnwick.helper");
}

TEST(KillResultCode, IsMadeFromItsNumber)
{
    EXPECT_EQ(killResultCodeFromRawValue(0), KillResultCode::Terminated);
    EXPECT_EQ(killResultCodeFromRawValue(1), KillResultCode::ForceKilled);
    EXPECT_EQ(killResultCodeFromRawValue(2), KillResultCode::PermissionDenied);
    EXPECT_EQ(killResultCodeFromRawValue(3), KillResultCode::NotFound);
}

TEST(KillResultCode, IsNotMadeFromAnyOtherNumber)
{
    for (const std::int32_t number : {-1, 4, 9, std::numeric_limits<std::int32_t>::max(),
                                      std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(killResultCodeFromRawValue(number), std::nullopt) << number;
    }
}

TEST(KillResult, FollowsTheHelpersCode)
{
    EXPECT_EQ(killResultFromReply(0), KillResult::Terminated);
    EXPECT_EQ(killResultFromReply(1), KillResult::Force);
    EXPECT_EQ(killResultFromReply(2), KillResult::PermissionDenied);
    EXPECT_EQ(killResultFromReply(3), KillResult::NotFound);
}

TEST(KillResult, TakesAnUnknownCodeAsARefusal)
{
    for (const std::int32_t code : {-1, 4, 9, std::numeric_limits<std::int32_t>::max(),
                                    std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(killResultFromReply(code), KillResult::PermissionDenied) << code;
    }
}

TEST(KillResult, HasTheNumberOfItsCode)
{
    for (std::size_t number = 0; number < allKillResults.size(); ++number) {
        EXPECT_EQ(static_cast<std::size_t>(allKillResults[number]), number);
    }
}

TEST(KillResult, IsToldInOneLine)
{
    EXPECT_EQ(killOutcomeLine(KillResult::Terminated, 3000), "[kill] :3000 terminated");
    EXPECT_EQ(killOutcomeLine(KillResult::Force, 3000), "[kill] :3000 force-killed");
    EXPECT_EQ(killOutcomeLine(KillResult::PermissionDenied, 22), "[kill] :22 permission denied");
    EXPECT_EQ(killOutcomeLine(KillResult::NotFound, 65535), "[kill] :65535 already gone");
}

TEST(KillResult, IsToldWithoutThePortWhenTheHelperCouldNotBeAsked)
{
    EXPECT_EQ(killOutcomeLine(KillResult::XpcUnavailable, 3000),
              "[kill] helper XPC unavailable \u2014 is it registered?");
}
