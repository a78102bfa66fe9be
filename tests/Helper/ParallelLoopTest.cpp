// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ParallelLoop.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <new>

using namespace Tarnwick;

TEST(ParallelLoop, CallsItsBodyOnceWithEachIndex)
{
    std::array<std::atomic<int>, 1000> calls{};
    parallelLoop(calls.size(), Parallel::WhereItHelps,
                 [&calls](std::size_t index) { ++calls.at(index); });
    for (const std::atomic<int> &count : calls) {
        EXPECT_EQ(count, 1);
    }
}

TEST(ParallelLoop, PassesOnWhatAnyOfItsThreadsThrows)
{
    for (const Parallel parallel : {Parallel::No, Parallel::WhereItHelps}) {
        for (const std::size_t failing : {0U, 1U, 57U, 99U}) {
            const auto fail = [failing](std::size_t index) {
                if (index >= failing) {
                    throw std::bad_alloc();
                }
            };
            EXPECT_THROW(parallelLoop(100, parallel, fail), std::bad_alloc);
        }
    }
}
