// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/DestroyedListeners.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <linux/filter.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

constexpr std::uint32_t destinationPort = NLMSG_HDRLEN + offsetof(inet_diag_msg, id.idiag_dport);
constexpr std::uint32_t wholeMessage = 0xFFFF;

/// A classic BPF program as the kernel's Documentation/networking/filter.rst has them.
std::array<sock_filter, 4> filter()
{
    constexpr std::uint16_t load = BPF_LD | BPF_H | BPF_ABS;
    constexpr std::uint16_t jumpIfEqual = BPF_JMP | BPF_JEQ | BPF_K;
    constexpr std::uint16_t end = BPF_RET | BPF_K;
    return {{
        {.code = load, .jt = 0, .jf = 0, .k = destinationPort},
        {.code = jumpIfEqual, .jt = 1, .jf = 0, .k = 0},
        {.code = end, .jt = 0, .jf = 0, .k = 0},
        {.code = end, .jt = 0, .jf = 0, .k = wholeMessage},
    }};
}

bool attachFilter(int socket)
{
    std::array<sock_filter, 4> instructions = filter();
    const sock_fprog program{.len = instructions.size(), .filter = instructions.data()};
    return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof(program)) == 0;
}

/// Gives the socket an address of its own: to one without, as the kernel's is, nothing is sent.
bool bindToAny(int socket)
{
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    return ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

bool join(int socket, int group)
{
    return ::setsockopt(socket, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof(group)) == 0;
}

} // namespace

DestroyedListeners::DestroyedListeners()
{
    FileDescriptor socket(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG));
    if (socket && attachFilter(socket.get()) && bindToAny(socket.get()) &&
        join(socket.get(), SKNLGRP_INET_TCP_DESTROY)) {
        // A kernel without IPv6 has no such group.
        static_cast<void>(join(socket.get(), SKNLGRP_INET6_TCP_DESTROY));
        m_socket = std::move(socket);
    }
}

bool DestroyedListeners::take()
{
    bool isNotified = false;
    while (m_socket) {
        char any = 0;
        if (::recv(m_socket.get(), &any, sizeof(any), MSG_TRUNC) >= 0 || errno == ENOBUFS) {
            isNotified = true;
        } else if (errno != EINTR) {
            break;
        }
    }
    return isNotified;
}

} // namespace Tarnwick
