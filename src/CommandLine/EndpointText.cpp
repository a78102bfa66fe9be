// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/EndpointText.h"

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

constexpr std::array<std::int64_t, 2> tlsPorts{443, 8443};

bool isV6(const ListenAddress &address)
{
    return address.family == ListenAddress::Family::IPv6;
}

/// An IPv4 address has no colon, also where a socket of IPv6 has it mapped.
std::string host(const ListenAddress &address)
{
    const std::string text = address.text();
    return isV6(address) ? "[" + text + "]" : text;
}

/// 127.0.0.1 and ::1, which hosts(5) calls localhost; the rest of 127.0.0.0/8 has no name.
bool isLocalhost(const ListenAddress &address)
{
    const std::string text = address.text();
    return address.isAny() || text == "127.0.0.1" || text == "::1" || text == "::ffff:127.0.0.1";
}

} // namespace

std::string EndpointText::address(const ListenAddress &address, std::int64_t port)
{
    const bool isBoth = isV6(address) && address.isAny() && !address.isV6Only;
    return (isBoth ? "*" : host(address)) + ':' + std::to_string(port);
}

std::string EndpointText::url(const ListenAddress &address, std::int64_t port)
{
    const bool isTls = std::find(tlsPorts.begin(), tlsPorts.end(), port) != tlsPorts.end();
    return std::string(isTls ? "https" : "http") + "://" +
           (isLocalhost(address) ? "localhost" : host(address)) + ':' + std::to_string(port);
}

} // namespace Tarnwick
