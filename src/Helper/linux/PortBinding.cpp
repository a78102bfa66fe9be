// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortBinding.h"

#include "Shared/FileDescriptor.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

/// errno of the failure, or 0.
int bindOnce(std::uint16_t port, const ListenAddress &address, PortBinding::ReuseAddress reuse)
{
    const bool isV6 = address.family == ListenAddress::Family::IPv6;
    const FileDescriptor socket(
        ::socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
    if (!socket) {
        return errno;
    }
    const int reuses = reuse == PortBinding::ReuseAddress::Yes ? 1 : 0;
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &reuses, sizeof(reuses)) != 0) {
        return errno;
    }
    if (!isV6) {
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        std::memcpy(&target.sin_addr, address.bytes.data(), sizeof(target.sin_addr));
        const auto *const generic = reinterpret_cast<const sockaddr *>(&target);
        return ::bind(socket.get(), generic, sizeof(target)) == 0 ? 0 : errno;
    }
    const int isV6Only = address.isV6Only ? 1 : 0;
    if (::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &isV6Only, sizeof(isV6Only)) != 0) {
        return errno;
    }
    sockaddr_in6 target = {};
    target.sin6_family = AF_INET6;
    target.sin6_port = htons(port);
    target.sin6_scope_id = address.interface;
    std::memcpy(&target.sin6_addr, address.bytes.data(), sizeof(target.sin6_addr));
    const auto *const generic = reinterpret_cast<const sockaddr *>(&target);
    return ::bind(socket.get(), generic, sizeof(target)) == 0 ? 0 : errno;
}

} // namespace

PortBinding::Outcome PortBinding::attempt(std::uint16_t port,
                                          std::span<const ListenAddress> addresses,
                                          ReuseAddress reuse)
{
    Outcome outcome = Outcome::Possible;
    for (const ListenAddress &address : addresses) {
        switch (bindOnce(port, address, reuse)) {
        case 0:
        case EADDRNOTAVAIL:
        case EAFNOSUPPORT:
            break;
        case EADDRINUSE:
            return Outcome::InUse;
        default:
            outcome = Outcome::Unknown;
        }
    }
    return outcome;
}

std::vector<ListenAddress> PortBinding::everyAddress()
{
    return {{.family = ListenAddress::Family::IPv4},
            {.family = ListenAddress::Family::IPv6, .isV6Only = true}};
}

} // namespace Tarnwick
