// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/CheckedAllocator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>

using namespace Tarnwick;

// The sanitizers end a program that asks for more than there can be; here it must get null.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() // NOLINT
{
    return "allocator_may_return_null=1";
}
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_options() // NOLINT
{
    return "allocator_may_return_null=1";
}

namespace {

/// More than any process may have; not a constant, of which the compiler would warn.
std::size_t tooMuch()
{
    volatile std::size_t size = PTRDIFF_MAX;
    return size;
}

} // namespace

TEST(CheckedAllocator, ThrowsWhereThereIsNoMemory)
{
    EXPECT_THROW(static_cast<void>(CheckedAllocator::Malloc(tooMuch())), std::bad_alloc);
    void *memory = CheckedAllocator::Malloc(5);
    std::memcpy(memory, "kept", 5);
    EXPECT_THROW(static_cast<void>(CheckedAllocator::Realloc(memory, 5, tooMuch())),
                 std::bad_alloc);
    EXPECT_STREQ(static_cast<const char *>(memory), "kept");
    EXPECT_EQ(CheckedAllocator::Realloc(memory, 5, 0), nullptr);
    EXPECT_EQ(CheckedAllocator::Malloc(0), nullptr);
}
