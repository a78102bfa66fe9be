// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/LocalSocket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

void check(bool hasSucceeded, const char *call)
{
    if (!hasSucceeded) {
        throw std::runtime_error(std::string(call) + ": " + std::strerror(errno));
    }
}

FileDescriptor make(int family)
{
    FileDescriptor made(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    check(static_cast<bool>(made), "socket");
    return made;
}

void set(const FileDescriptor &socket, int level, int option, bool isOn)
{
    const int value = isOn ? 1 : 0;
    check(::setsockopt(socket.get(), level, option, &value, sizeof(value)) == 0, "setsockopt");
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

FileDescriptor LocalSocket::bound(std::uint16_t port, Reuse reuse)
{
    FileDescriptor socket = make(AF_INET);
    set(socket, SOL_SOCKET, SO_REUSEADDR, reuse == Reuse::Yes);
    const sockaddr_in address = loopback(port);
    check(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0,
          "bind");
    return socket;
}

FileDescriptor LocalSocket::boundV6(V6 kind, std::uint16_t port)
{
    FileDescriptor socket = make(AF_INET6);
    set(socket, SOL_SOCKET, SO_REUSEADDR, true);
    set(socket, IPPROTO_IPV6, IPV6_V6ONLY, kind != V6::AnyWithIPv4);
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = kind == V6::Loopback ? in6addr_loopback : in6addr_any;
    check(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0,
          "bind");
    return socket;
}

void LocalSocket::listen(const FileDescriptor &socket)
{
    check(::listen(socket.get(), 4) == 0, "listen");
}

std::uint16_t LocalSocket::port(const FileDescriptor &socket)
{
    // The port lies at the same place in the addresses of both families.
    sockaddr_in6 address = {};
    socklen_t size = sizeof(address);
    check(::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size) == 0,
          "getsockname");
    return ntohs(address.sin6_port);
}

LocalSocket::Connection LocalSocket::connection(const FileDescriptor &listener)
{
    Connection made{make(AF_INET), {}};
    const sockaddr_in address = loopback(port(listener));
    check(::connect(made.client.get(), reinterpret_cast<const sockaddr *>(&address),
                    sizeof(address)) == 0,
          "connect");
    made.server = FileDescriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    check(static_cast<bool>(made.server), "accept4");
    return made;
}

} // namespace Tarnwick
