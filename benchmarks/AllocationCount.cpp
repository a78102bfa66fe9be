// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "AllocationCount.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<std::uint64_t> count{0};

} // namespace

// What glibc's own functions are called as well; see "Replacing malloc" in its manual.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t members, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

__attribute__((visibility("default"))) void *malloc(std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void *calloc(std::size_t members, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(members, size);
}

__attribute__((visibility("default"))) void *realloc(void *block, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}

} // extern "C"

namespace Tarnwick {

std::uint64_t allocationCount()
{
    return count.load(std::memory_order_relaxed);
}

} // namespace Tarnwick
