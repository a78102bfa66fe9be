// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace Tarnwick {

/// The IP address that a socket listens at.
struct ListenAddress
{
    enum class Family : std::uint8_t { IPv4, IPv6 };

    Family family = Family::IPv4;
    std::array<std::uint8_t, 16> bytes{}; ///< in network order; of IPv4 the first four
    bool isV6Only = false;       ///< IPV6_V6ONLY: a socket at `::` takes no connections over IPv4
    std::uint32_t interface = 0; ///< index of the interface that the socket is bound to; 0 for none

    /// Whether it stands for every address of the machine: 0.0.0.0 or `::`.
    [[nodiscard]] bool isAny() const;

    /// Whether only this machine reaches it: 127.0.0.0/8, also as an IPv4-mapped IPv6 address, and
    /// ::1.
    [[nodiscard]] bool isLoopback() const;

    /// The IPv4 address that an IPv4-mapped IPv6 address stands for; any other address itself.
    [[nodiscard]] ListenAddress unmapped() const;

    /// "127.0.0.1" or "::1", without brackets or interface.
    [[nodiscard]] std::string text() const;

    friend bool operator==(const ListenAddress &, const ListenAddress &) = default;
};

} // namespace Tarnwick
