// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace Tarnwick {

/// Memory for RapidJSON, which never checks whether there was any: throws std::bad_alloc where the
/// library's own allocator returns a null pointer that is then written through.
class CheckedAllocator
{
public:
    // The names are the library's.
    // NOLINTBEGIN(readability-identifier-naming)
    static constexpr bool kNeedFree = true;

    [[nodiscard]] static void *Malloc(std::size_t size)
    {
        return size == 0 ? nullptr : checked(std::malloc(size));
    }
    [[nodiscard]] static void *Realloc(void *memory, std::size_t /*oldSize*/, std::size_t size)
    {
        if (size == 0) {
            std::free(memory);
            return nullptr;
        }
        return checked(std::realloc(memory, size));
    }
    static void Free(void *memory) noexcept { std::free(memory); }
    // NOLINTEND(readability-identifier-naming)

    friend bool operator==(const CheckedAllocator &, const CheckedAllocator &) = default;

private:
    [[nodiscard]] static void *checked(void *memory)
    {
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }
};

} // namespace Tarnwick
