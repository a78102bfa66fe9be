// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenAddress.h"

#include <algorithm>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace Tarnwick {

namespace {

/// ::ffff:0:0/96 (RFC 4291, section 2.5.5.2).
constexpr std::array<std::uint8_t, 12> mappedPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr std::uint8_t loopbackNetwork = 127;

} // namespace

bool ListenAddress::isAny() const
{
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool ListenAddress::isLoopback() const
{
    if (family == Family::IPv4) {
        return bytes.front() == loopbackNetwork;
    }
    if (std::equal(mappedPrefix.begin(), mappedPrefix.end(), bytes.begin())) {
        return bytes[mappedPrefix.size()] == loopbackNetwork;
    }
    return std::all_of(bytes.begin(), bytes.end() - 1,
                       [](std::uint8_t byte) { return byte == 0; }) &&
           bytes.back() == 1;
}

ListenAddress ListenAddress::unmapped() const
{
    ListenAddress address = *this;
    if (family == Family::IPv6 &&
        std::equal(mappedPrefix.begin(), mappedPrefix.end(), bytes.begin())) {
        address.family = Family::IPv4;
        address.bytes = {};
        std::copy(bytes.begin() + mappedPrefix.size(), bytes.end(), address.bytes.begin());
    }
    return address;
}

std::string ListenAddress::text() const
{
    std::array<char, INET6_ADDRSTRLEN> buffer{};
    const int kind = family == Family::IPv4 ? AF_INET : AF_INET6;
    const char *const text = ::inet_ntop(kind, bytes.data(), buffer.data(), buffer.size());
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace Tarnwick
