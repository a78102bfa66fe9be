// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/UnixListeners.h"

#include "Shared/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

UnixListener fromMessage(std::string_view payload)
{
    unix_diag_msg message{};
    std::memcpy(&message, payload.data(), sizeof(message));
    payload.remove_prefix(sizeof(message));
    UnixListener listener;
    listener.inode = message.udiag_ino;
    NetlinkDump::parseAttributes(payload, [&](std::uint16_t type, std::string_view value) {
        unix_diag_vfs file{};
        if (type == UNIX_DIAG_NAME) {
            listener.name = value;
        } else if (type == UNIX_DIAG_VFS && value.size() >= sizeof(file)) {
            std::memcpy(&file, value.data(), sizeof(file));
            listener.file = file.udiag_vfs_ino;
            listener.device = file.udiag_vfs_dev;
        }
    });
    return listener;
}

/// The system call that failed; code 0 where none did.
SystemFailures::Failure dump(std::vector<UnixListener> &found)
{
    constexpr std::uint32_t sequence = 1;
    const FileDescriptor connection(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!connection) {
        return {NetlinkDump::socketCall, errno};
    }
    struct
    {
        nlmsghdr header{};
        unix_diag_req request{};
    } message;
    message.header.nlmsg_len = sizeof(message);
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.header.nlmsg_seq = sequence;
    message.request.sdiag_family = AF_UNIX;
    message.request.udiag_states = 1U << TCP_LISTEN;
    message.request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_VFS;
    if (::send(connection.get(), &message, sizeof(message), MSG_NOSIGNAL) < 0) {
        return {NetlinkDump::sendCall, errno};
    }
    NetlinkDump::Progress progress;
    const int code =
        NetlinkDump::receive(connection.get(), progress,
                             [&found](std::string_view messages, NetlinkDump::Progress &state) {
                                 UnixListeners::parse(messages, sequence, found, state);
                             });
    return {NetlinkDump::receiveCall, code};
}

/// Takes what stands before the next @p separator off @p text.
std::string_view takeUntil(std::string_view &text, char separator)
{
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return taken;
}

} // namespace

std::variant<std::vector<UnixListener>, SystemFailures::Failure> UnixListeners::list()
{
    constexpr int attempts = 3;
    SystemFailures::Failure failure;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::vector<UnixListener> found;
        failure = dump(found);
        if (failure.code == 0) {
            return found;
        }
        SystemFailures::noteRepeated(failure.call, failure.code);
    }
    return failure;
}

std::uint32_t UnixListeners::fileDevice(unsigned major, unsigned minor)
{
    constexpr unsigned bitsOfMinor = 20;
    return (major << bitsOfMinor) | minor;
}

void UnixListeners::parse(std::string_view messages, std::uint32_t sequence,
                          std::vector<UnixListener> &found, NetlinkDump::Progress &progress)
{
    NetlinkDump::parse(messages, sequence, progress, [&found](std::string_view payload) {
        const bool isWhole = payload.size() >= sizeof(unix_diag_msg);
        if (isWhole) {
            found.push_back(fromMessage(payload));
        }
        return isWhole;
    });
}

std::set<std::uint32_t> UnixListeners::possibleInodes(std::string_view table)
{
    // unix(7): number, references, protocol, flags, type, state, inode, name. The flag is
    // __SO_ACCEPTCON of the kernel.
    constexpr std::string_view accepting = "00010000";
    constexpr int columnsBeforeFlags = 3;
    std::set<std::uint32_t> found;
    while (!table.empty()) {
        std::string_view line = takeUntil(table, '\n');
        for (int column = 0; column < columnsBeforeFlags; ++column) {
            takeUntil(line, ' ');
        }
        if (takeUntil(line, ' ') != accepting) {
            continue;
        }
        takeUntil(line, ' ');
        takeUntil(line, ' ');
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
        std::uint32_t inode = 0;
        std::from_chars(line.data(), line.data() + line.size(), inode);
        if (inode != 0) {
            found.insert(inode);
        }
    }
    return found;
}

} // namespace Tarnwick
