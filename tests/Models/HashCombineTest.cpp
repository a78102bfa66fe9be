// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/HashCombine.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tarnwick;

namespace {

template<class... Values>
std::size_t hashOf(const Values &...values)
{
    std::size_t seed = 0;
    (hashCombine(seed, values), ...);
    return seed;
}

} // namespace

TEST(HashCombine, GivesEqualHashesForEqualValues)
{
    EXPECT_EQ(hashOf(1, std::string("node")), hashOf(1, std::string("node")));
}

TEST(HashCombine, TellsTheOrderOfTheValues)
{
    EXPECT_NE(hashOf(3000, 42), hashOf(42, 3000));
}

TEST(HashCombine, TellsAValueThatHashesToZeroFromNone)
{
    EXPECT_NE(hashOf(0), hashOf());
    EXPECT_NE(hashOf(0, 0), hashOf(0));
}
