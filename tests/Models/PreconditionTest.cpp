// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Precondition.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace Tarnwick;

TEST(Precondition, StopsTheProgramWithTheRuleOnStandardError)
{
    EXPECT_EXIT(preconditionFailure("a rule was broken"), testing::KilledBySignal(SIGABRT),
                "^fatal: a rule was broken\n");
}

TEST(Precondition, WritesNoMoreThanTheRule)
{
    const std::string_view text = "kept, but not this";
    EXPECT_EXIT(preconditionFailure(text.substr(0, 4)), testing::KilledBySignal(SIGABRT),
                "^fatal: kept\n$");
}
