// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>

namespace Tarnwick {

/// A universally unique identifier of 128 bits. Random ones are of version 4, variant 1 (RFC 9562).
/// A default-constructed one is the nil identifier, all zeros. Any thread.
class Uuid
{
public:
    constexpr Uuid() = default;
    explicit constexpr Uuid(const std::array<std::uint8_t, 16> &bytes)
        : m_bytes(bytes)
    {
    }

    /// A fresh random identifier, from the operating system's random source. Each thread draws
    /// from that source for several identifiers at once, so that thousands cost no thousand system
    /// calls. Stops the program when the system has no randomness to give.
    [[nodiscard]] static Uuid random();

    [[nodiscard]] constexpr const std::array<std::uint8_t, 16> &bytes() const { return m_bytes; }

    /// The 36-character form in lower-case hexadecimal, 8-4-4-4-12.
    [[nodiscard]] std::string text() const;

    // clang-tidy 14 takes the operator that the compiler writes for a comparison with a literal 0.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    friend constexpr auto operator<=>(const Uuid &, const Uuid &) = default;

private:
    std::array<std::uint8_t, 16> m_bytes{};
};

} // namespace Tarnwick
