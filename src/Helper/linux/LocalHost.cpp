// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/LocalHost.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <strings.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

in6_addr mapped(const in_addr &address)
{
    in6_addr result = {};
    result.s6_addr[10] = 0xff;
    result.s6_addr[11] = 0xff;
    std::memcpy(&result.s6_addr[12], &address, sizeof(address));
    return result;
}

/// @p host without the brackets that an IPv6 address may have, and without the dot that ends a
/// whole name.
std::string plainHost(std::string_view host)
{
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    if (host.ends_with('.')) {
        host.remove_suffix(1);
    }
    return std::string(host);
}

/// The address of a plain host: IPv6 with or without a zone, or IPv4 in any form of inet(3), such
/// as "127.1".
std::optional<in6_addr> numericAddress(const std::string &host)
{
    in6_addr address = {};
    if (::inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), &address) == 1) {
        return address;
    }
    in_addr old = {};
    return ::inet_aton(host.c_str(), &old) != 0 ? std::optional(mapped(old)) : std::nullopt;
}

bool isLoopbackOrAny(const in6_addr &address)
{
    constexpr std::uint8_t loopbackNetwork = 127;
    if (IN6_IS_ADDR_V4MAPPED(&address)) {
        const bool isAny = std::all_of(&address.s6_addr[12], &address.s6_addr[16],
                                       [](std::uint8_t byte) { return byte == 0; });
        return isAny || address.s6_addr[12] == loopbackNetwork;
    }
    return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_UNSPECIFIED(&address);
}

bool isOfAnInterface(const in6_addr &wanted)
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(list, &::freeifaddrs);
    for (const ifaddrs *one = list; one != nullptr; one = one->ifa_next) {
        if (one->ifa_addr == nullptr) {
            continue;
        }
        in6_addr address = {};
        if (one->ifa_addr->sa_family == AF_INET) {
            sockaddr_in found = {};
            std::memcpy(&found, one->ifa_addr, sizeof(found));
            address = mapped(found.sin_addr);
        } else if (one->ifa_addr->sa_family == AF_INET6) {
            sockaddr_in6 found = {};
            std::memcpy(&found, one->ifa_addr, sizeof(found));
            address = found.sin6_addr;
        } else {
            continue;
        }
        if (std::memcmp(&address, &wanted, sizeof(wanted)) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

bool isLocalHost(std::string_view host)
{
    const std::string name = plainHost(host);
    if (const std::optional<in6_addr> address = numericAddress(name)) {
        return isLoopbackOrAny(*address) || isOfAnInterface(*address);
    }
    constexpr std::array<const char *, 4> names{"localhost", "localhost.localdomain",
                                                "ip6-localhost", "ip6-loopback"};
    if (std::any_of(names.begin(), names.end(), [&name](const char *known) {
            return ::strcasecmp(known, name.c_str()) == 0;
        })) {
        return true;
    }
    constexpr std::string_view domain = ".localhost";
    if (name.size() > domain.size() &&
        ::strcasecmp(name.c_str() + name.size() - domain.size(), domain.data()) == 0) {
        return true;
    }
    std::array<char, 256> own{};
    return ::gethostname(own.data(), own.size() - 1) == 0 &&
           ::strcasecmp(own.data(), name.c_str()) == 0;
}

bool mayBeLocalHost(std::string_view host)
{
    return !numericAddress(plainHost(host)) || isLocalHost(host);
}

} // namespace Tarnwick
