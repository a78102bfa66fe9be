// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortSockets.h"

#include "Helper/linux/HeldSockets.h"
#include "Helper/linux/NetlinkDump.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/SocketDump.h"
#include "Shared/FileDescriptor.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

using State = PortSocket::State;

/// TCP_BOUND_INACTIVE of the kernel's net/tcp_states.h, which its headers for programs lack. It is
/// a state of requests only; the sockets are reported as TCP_CLOSE.
constexpr std::uint32_t boundInactive = 1U << 13U;
constexpr std::uint32_t everyState = 0xFFFU | boundInactive;
constexpr std::uint32_t listening = 1U << TCP_LISTEN;

State stateFrom(std::uint8_t state)
{
    switch (state) {
    case TCP_LISTEN:
        return State::Listening;
    case TCP_CLOSE:
        return State::Bound;
    case TCP_TIME_WAIT:
        return State::TimeWait;
    default:
        return State::Connected;
    }
}

PortSocket fromMessage(std::string_view payload)
{
    inet_diag_msg message{};
    std::memcpy(&message, payload.data(), sizeof(message));
    payload.remove_prefix(sizeof(message));
    PortSocket socket;
    socket.state = stateFrom(message.idiag_state);
    socket.address = SocketDump::address(message.idiag_family, message.id.idiag_src);
    socket.address.interface = message.id.idiag_if;
    socket.peer = SocketDump::address(message.idiag_family, message.id.idiag_dst);
    socket.peerPort = ntohs(message.id.idiag_dport);
    socket.userId = message.idiag_uid;
    socket.inode = message.idiag_inode;
    NetlinkDump::parseAttributes(payload, [&socket](std::uint16_t type, std::string_view value) {
        if (type == INET_DIAG_SKV6ONLY && !value.empty()) {
            socket.address.isV6Only = value.front() != 0;
        }
    });
    return socket;
}

/// Appends the sockets of one family; errno of the failure, or 0.
int dump(int connection, std::uint8_t family, std::uint16_t port, std::uint32_t states,
         std::vector<PortSocket> &sockets)
{
    struct
    {
        nlmsghdr header{};
        inet_diag_req_v2 request{};
    } message{};
    message.header.nlmsg_len = sizeof(message);
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.header.nlmsg_seq = family;
    message.request.sdiag_family = family;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = states;
    message.request.id.idiag_sport = htons(port);
    if (::send(connection, &message, sizeof(message), MSG_NOSIGNAL) < 0) {
        return errno;
    }
    const auto take = [port, &sockets](std::string_view payload) {
        inet_diag_msg head{};
        if (payload.size() < sizeof(head)) {
            return false;
        }
        std::memcpy(&head, payload.data(), sizeof(head));
        if (ntohs(head.id.idiag_sport) == port) {
            sockets.push_back(fromMessage(payload));
        }
        return true;
    };
    NetlinkDump::Progress progress;
    return NetlinkDump::receive(
        connection, progress,
        [family, &take](std::string_view messages, NetlinkDump::Progress &state) {
            NetlinkDump::parse(messages, family, state, take);
        });
}

/// Replaces @p sockets; false where the kernel refuses.
bool listByDiagnostics(std::uint16_t port, std::uint32_t states, std::vector<PortSocket> &sockets)
{
    const FileDescriptor connection(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!connection) {
        return false;
    }
    for (const int family : {AF_INET, AF_INET6}) {
        const int code =
            dump(connection.get(), static_cast<std::uint8_t>(family), port, states, sockets);
        // A kernel without IPv6.
        if (code != 0 && !(code == ENOENT && family == AF_INET6)) {
            sockets.clear();
            return false;
        }
    }
    return true;
}

} // namespace

PortSockets::Result PortSockets::on(std::uint16_t port, Which which)
{
    std::vector<PortSocket> sockets;
    if (listByDiagnostics(port, which == Which::All ? everyState : listening, sockets)) {
        return sockets;
    }
    std::vector<ListeningSocket> all;
    if (std::optional<ListingError> error =
            SocketDump(ListenerInventory::SocketSource::ProcNetTcp).list(all)) {
        return *std::move(error);
    }
    for (const ListeningSocket &socket : all) {
        if (socket.port == port) {
            sockets.push_back({.state = State::Listening,
                               .address = socket.address,
                               .userId = socket.uid,
                               .inode = socket.inode});
        }
    }
    return sockets;
}

std::vector<std::int32_t> PortSockets::holders(std::uint32_t inode)
{
    constexpr std::chrono::seconds maxTime(1);
    const auto deadline = std::chrono::steady_clock::now() + maxTime;
    std::vector<std::int32_t> found;
    const FileDescriptor root = ProcFs::openRoot();
    if (inode == 0 || !root) {
        return found;
    }
    for (const ProcFs::ProcessEntry &process : ProcFs::processes(root.get())) {
        const FileDescriptor descriptors =
            ProcFs::openDirectoryOfProcess(root.get(), process.pid, "/fd");
        bool isHolder = false;
        if (descriptors) {
            static_cast<void>(HeldSockets::each(descriptors.get(), deadline,
                                                [&isHolder, inode](std::uint32_t held) {
                                                    isHolder = isHolder || held == inode;
                                                    return !isHolder;
                                                }));
        }
        if (isHolder) {
            found.push_back(process.pid);
        }
    }
    return found;
}

} // namespace Tarnwick
