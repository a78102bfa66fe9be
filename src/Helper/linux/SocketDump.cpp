// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SocketDump.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>
#include <tuple>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

/// A fault-free dump is one request; a few more are worth it when memory is short for a moment.
constexpr int attempts = 3;

constexpr std::size_t ipv4Size = 4;

ListeningSocket fromMessage(std::string_view payload)
{
    inet_diag_msg message{};
    std::memcpy(&message, payload.data(), sizeof(message));
    payload.remove_prefix(sizeof(message));

    ListeningSocket socket;
    socket.inode = message.idiag_inode;
    socket.port = ntohs(message.id.idiag_sport);
    socket.uid = message.idiag_uid;
    socket.cookie = (std::uint64_t{message.id.idiag_cookie[1]} << 32U) | message.id.idiag_cookie[0];
    socket.address = SocketDump::address(message.idiag_family, message.id.idiag_src);
    socket.address.interface = message.id.idiag_if;
    NetlinkDump::parseAttributes(payload, [&socket](std::uint16_t type, std::string_view value) {
        if (type == INET_DIAG_CGROUP_ID && value.size() >= sizeof(socket.controlGroup)) {
            std::memcpy(&socket.controlGroup, value.data(), sizeof(socket.controlGroup));
        } else if (type == INET_DIAG_SKV6ONLY && !value.empty()) {
            socket.address.isV6Only = value.front() != 0;
        }
    });
    return socket;
}

/// Splits a line of a table at its blanks.
std::vector<std::string_view> fields(std::string_view line)
{
    std::vector<std::string_view> found;
    while (true) {
        const std::size_t start = line.find_first_not_of(' ');
        if (start == std::string_view::npos) {
            return found;
        }
        line.remove_prefix(start);
        const std::size_t end = std::min(line.size(), line.find(' '));
        found.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
}

template<class Number>
bool parse(std::string_view text, Number &number, int base)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc{} && end == text.data() + text.size();
}

/// Reads the address in a line of a table: words of 32 bits in hexadecimal, each in the order of
/// the bytes of this machine; one of IPv4, four of IPv6.
bool parseAddress(std::string_view text, ListenAddress &address)
{
    constexpr std::size_t digits = 2 * sizeof(std::uint32_t);
    if (text.size() != digits && text.size() != digits * address.bytes.size() / ipv4Size) {
        return false;
    }
    address.family =
        text.size() == digits ? ListenAddress::Family::IPv4 : ListenAddress::Family::IPv6;
    for (std::size_t offset = 0; offset < text.size(); offset += digits) {
        std::uint32_t word = 0;
        if (!parse(text.substr(offset, digits), word, 16)) {
            return false;
        }
        std::memcpy(address.bytes.data() + offset / 2, &word, sizeof(word));
    }
    return true;
}

bool byInode(const ListeningSocket &left, const ListeningSocket &right)
{
    return left.inode < right.inode;
}

/// The error where the tables cannot be read, by errno @p code, and diagnostics have failed before,
/// unless they were not tried.
ListingError failure(const SystemFailures::Failure &diagnostics, int code)
{
    std::string message = "cannot list the listening sockets: ";
    if (diagnostics.call != nullptr) {
        message += std::string(diagnostics.call) + ": " + std::strerror(diagnostics.code) + "; ";
    }
    return {code, message + "/proc/net/tcp: " + std::strerror(code)};
}

/// 0, or the errno of the failure. A kernel without IPv6 has no tcp6, which is no failure.
int readTables(std::vector<ListeningSocket> &sockets)
{
    const FileDescriptor root = ProcFs::openRoot();
    if (!root) {
        return errno;
    }
    constexpr std::size_t noLimit = 256UL * 1024 * 1024;
    std::string table;
    if (!ProcFs::readFile(root.get(), "self/net/tcp", table, noLimit)) {
        return errno;
    }
    if (!SocketDump::parseTable(table, sockets)) {
        return EBADMSG;
    }
    if (ProcFs::readFile(root.get(), "self/net/tcp6", table, noLimit)) {
        return SocketDump::parseTable(table, sockets) ? 0 : EBADMSG;
    }
    return errno == ENOENT ? 0 : errno;
}

} // namespace

ListenAddress SocketDump::address(std::uint8_t family, std::span<const std::uint32_t, 4> words)
{
    ListenAddress address;
    const bool isV6 = family == AF_INET6;
    address.family = isV6 ? ListenAddress::Family::IPv6 : ListenAddress::Family::IPv4;
    std::memcpy(address.bytes.data(), words.data(), isV6 ? address.bytes.size() : ipv4Size);
    return address;
}

std::optional<ListingError> SocketDump::list(std::vector<ListeningSocket> &sockets)
{
    sockets.clear();
    SystemFailures::Failure refused{.call = nullptr, .code = EOPNOTSUPP};
    if (m_source == ListenerInventory::SocketSource::Automatic) {
        for (int attempt = 0; attempt < attempts && refused.code != 0; ++attempt) {
            sockets.clear();
            refused = listByDiagnostics(sockets);
            // A dump that sockets come and go during is interrupted; that is no failure.
            SystemFailures::noteRepeated(refused.call, refused.code == EINTR ? 0 : refused.code);
            if (refused.code != 0) {
                m_netlink.reset();
            }
        }
    }
    if (refused.code == 0) {
        m_last = sockets;
        std::sort(m_last.begin(), m_last.end(), byInode);
    } else {
        sockets.clear();
        if (const int code = readTables(sockets); code != 0) {
            return failure(refused, code);
        }
        completeFromLast(sockets);
    }
    const auto order = [](const ListeningSocket &socket) {
        return std::tuple(socket.port, socket.inode, socket.cookie);
    };
    std::sort(sockets.begin(), sockets.end(),
              [&order](const auto &left, const auto &right) { return order(left) < order(right); });
    // A dump in several messages may tell of a socket twice when others come and go meanwhile.
    sockets.erase(std::unique(sockets.begin(), sockets.end()), sockets.end());
    return std::nullopt;
}

/// A socket is the same as long as its inode, port and user are: an inode is not used again while
/// the socket exists, and hardly ever soon after.
void SocketDump::completeFromLast(std::vector<ListeningSocket> &sockets) const
{
    for (ListeningSocket &socket : sockets) {
        const auto last = std::lower_bound(m_last.begin(), m_last.end(), socket, byInode);
        if (last != m_last.end() && last->inode == socket.inode && last->port == socket.port &&
            last->uid == socket.uid) {
            socket = *last;
        }
    }
}

SystemFailures::Failure SocketDump::listByDiagnostics(std::vector<ListeningSocket> &sockets)
{
    if (!m_netlink) {
        m_netlink =
            FileDescriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
        if (!m_netlink) {
            return {NetlinkDump::socketCall, errno};
        }
    }
    bool interrupted = false;
    // The older request dumps both families at once; a kernel that has dropped it gets the newer
    // one, which wants a request for each family.
    SystemFailures::Failure failed = dump(TCPDIAG_GETSOCK, AF_UNSPEC, sockets, interrupted);
    if (failed.code == EINVAL || failed.code == EOPNOTSUPP || failed.code == ENOENT) {
        sockets.clear();
        for (const int family : {AF_INET, AF_INET6}) {
            failed =
                dump(SOCK_DIAG_BY_FAMILY, static_cast<std::uint8_t>(family), sockets, interrupted);
            if (failed.code == ENOENT && family == AF_INET6) {
                failed.code = 0;
            }
            if (failed.code != 0) {
                return failed;
            }
        }
    }
    if (failed.code == 0 && interrupted) {
        failed.code = EINTR;
    }
    return failed;
}

SystemFailures::Failure SocketDump::dump(std::uint16_t type, std::uint8_t family,
                                         std::vector<ListeningSocket> &sockets, bool &interrupted)
{
    if (const int code = request(type, family); code != 0) {
        return {NetlinkDump::sendCall, code};
    }
    return {NetlinkDump::receiveCall, receive(sockets, interrupted)};
}

int SocketDump::request(std::uint16_t type, std::uint8_t family)
{
    constexpr std::uint32_t listening = 1U << TCP_LISTEN;
    struct
    {
        nlmsghdr header{};
        union {
            inet_diag_req older;
            inet_diag_req_v2 newer;
        };
    } message{};
    std::size_t size = 0;
    if (type == TCPDIAG_GETSOCK) {
        message.older = {};
        message.older.idiag_family = family;
        message.older.idiag_states = listening;
        size = NLMSG_LENGTH(sizeof(inet_diag_req));
    } else {
        message.newer = {};
        message.newer.sdiag_family = family;
        message.newer.sdiag_protocol = IPPROTO_TCP;
        message.newer.idiag_states = listening;
        size = NLMSG_LENGTH(sizeof(inet_diag_req_v2));
    }
    message.header.nlmsg_len = static_cast<std::uint32_t>(size);
    message.header.nlmsg_type = type;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.header.nlmsg_seq = ++m_sequence;
    const ssize_t sent = ::send(m_netlink.get(), &message, size, MSG_NOSIGNAL);
    return sent < 0 ? errno : 0;
}

int SocketDump::receive(std::vector<ListeningSocket> &sockets, bool &interrupted)
{
    Progress progress;
    const int code = NetlinkDump::receive(
        m_netlink.get(), progress, [this, &sockets](std::string_view messages, Progress &state) {
            parseMessages(messages, m_sequence, sockets, state);
        });
    interrupted = interrupted || progress.isInterrupted;
    return code;
}

void SocketDump::parseMessages(std::string_view messages, std::uint32_t sequence,
                               std::vector<ListeningSocket> &sockets, Progress &progress)
{
    NetlinkDump::parse(messages, sequence, progress, [&sockets](std::string_view payload) {
        const bool isWhole = payload.size() >= sizeof(inet_diag_msg);
        if (isWhole) {
            sockets.push_back(fromMessage(payload));
        }
        return isWhole;
    });
}

bool SocketDump::parseTable(std::string_view table, std::vector<ListeningSocket> &sockets)
{
    // proc_net_tcp of the kernel's documentation: sl, local address, remote address, state, queues,
    // timer, retransmits, user, timeout, inode.
    enum Column : std::size_t { Local = 1, State = 3, User = 7, Inode = 9, Count = 10 };
    constexpr std::string_view listening = "0A";

    bool heading = true;
    while (!table.empty()) {
        const std::size_t end = std::min(table.size(), table.find('\n'));
        const std::string_view line = table.substr(0, end);
        table.remove_prefix(std::min(table.size(), end + 1));
        if (std::exchange(heading, false) || line.empty()) {
            continue;
        }
        const std::vector<std::string_view> columns = fields(line);
        if (columns.size() < Count) {
            return false;
        }
        if (columns[State] != listening) {
            continue;
        }
        ListeningSocket socket;
        const std::size_t colon = columns[Local].rfind(':');
        if (colon == std::string_view::npos ||
            !parseAddress(columns[Local].substr(0, colon), socket.address) ||
            !parse(columns[Local].substr(colon + 1), socket.port, 16) ||
            !parse(columns[User], socket.uid, 10) || !parse(columns[Inode], socket.inode, 10)) {
            return false;
        }
        sockets.push_back(socket);
    }
    return true;
}

} // namespace Tarnwick
