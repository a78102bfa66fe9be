// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <functional>

namespace Tarnwick {

/// Mixes the hash of @p value into @p seed; the order of the calls matters. The multiplier is the
/// 64-bit golden ratio, 2^64 / phi.
template<class T>
constexpr void hashCombine(std::size_t &seed, const T &value) noexcept
{
    seed ^= std::hash<T>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 12U) + (seed >> 4U);
}

} // namespace Tarnwick
