// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Uuid.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <thread>
#include <vector>

using namespace Tarnwick;

TEST(Uuid, IsNilByDefault)
{
    EXPECT_EQ(Uuid().text(), "00000000-0000-0000-0000-000000000000");
}

TEST(Uuid, WritesItsBytesInLowerCaseHexadecimal)
{
    const Uuid uuid({0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0xfe, 0xdc, 0xba, 0x98, 0x76,
                     0x54, 0x32, 0x10});
    EXPECT_EQ(uuid.text(), "01234567-89ab-cdef-fedc-ba9876543210");
}

TEST(Uuid, ComparesByItsBytes)
{
    const Uuid one({1});
    const Uuid two({2});
    EXPECT_EQ(one, Uuid({1}));
    EXPECT_NE(one, two);
    EXPECT_LT(one, two);
}

TEST(Uuid, IsOfVersion4AndVariant1WhenRandom)
{
    for (int i = 0; i < 1'000; ++i) {
        const Uuid uuid = Uuid::random();
        EXPECT_EQ(uuid.bytes()[6] >> 4U, 4) << uuid.text();
        EXPECT_EQ(uuid.bytes()[8] >> 6U, 2) << uuid.text();
    }
}

TEST(Uuid, IsNeverTheSameTwiceWhenRandom)
{
    std::set<Uuid> seen;
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_TRUE(seen.insert(Uuid::random()).second);
    }
}

TEST(Uuid, IsNeverTheSameInTwoThreads)
{
    std::set<Uuid> seen;
    std::mutex mutex;
    constexpr int threadCount = 4;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&seen, &mutex] {
            for (int i = 0; i < 500; ++i) {
                const Uuid uuid = Uuid::random();
                const std::lock_guard lock(mutex);
                seen.insert(uuid);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen.size(), 2'000U);
}

TEST(Uuid, SetsEveryRandomBitNowAndThen)
{
    std::array<std::uint8_t, 16> everSet{};
    std::array<std::uint8_t, 16> everClear{};
    for (int i = 0; i < 1'000; ++i) {
        const std::array<std::uint8_t, 16> bytes = Uuid::random().bytes();
        for (std::size_t b = 0; b < bytes.size(); ++b) {
            everSet[b] = static_cast<std::uint8_t>(everSet[b] | bytes[b]);
            everClear[b] = static_cast<std::uint8_t>(everClear[b] | ~bytes[b]);
        }
    }
    EXPECT_EQ(Uuid(everSet).text(), "ffffffff-ffff-4fff-bfff-ffffffffffff");
    EXPECT_EQ(Uuid(everClear).text(), "ffffffff-ffff-bfff-7fff-ffffffffffff");
}
