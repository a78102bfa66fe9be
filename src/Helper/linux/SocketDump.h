// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenAddress.h"
#include "Helper/ListenerInventory.h"
#include "Helper/linux/NetlinkDump.h"
#include "Helper/linux/SystemFailures.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A TCP socket in the state LISTEN, as the kernel reports it.
struct ListeningSocket
{
    std::uint32_t inode = 0;
    std::uint16_t port = 0;
    uid_t uid = 0;                  ///< the user who made it
    std::uint64_t cookie = 0;       ///< unique for each socket since boot; 0 when not told
    std::uint64_t controlGroup = 0; ///< inode of its group's directory; 0 when not told
    ListenAddress address{};

    /// What to remember the socket by.
    [[nodiscard]] std::uint64_t key() const { return cookie != 0 ? cookie : inode; }

    friend bool operator==(const ListeningSocket &, const ListeningSocket &) = default;
};

/// Lists the listening TCP sockets of both IP families in the network namespace of this process:
/// through socket diagnostics (sock_diag(7)), filtered by the kernel, or from /proc/net/tcp and
/// tcp6 where those are refused or fail. What the tables do not tell of a socket is then as
/// diagnostics told it last. Belongs to one thread.
class SocketDump
{
public:
    explicit SocketDump(ListenerInventory::SocketSource source)
        : m_source(source)
    {
    }

    /// Replaces @p sockets with all of them, ordered by port and then inode.
    [[nodiscard]] std::optional<ListingError> list(std::vector<ListeningSocket> &sockets);

    /// Appends the listening sockets that the text of /proc/net/tcp or tcp6 tells of; false when a
    /// line is not what that file holds.
    static bool parseTable(std::string_view table, std::vector<ListeningSocket> &sockets);

    /// The address in the words of an inet_diag_sockid, in network order; of IPv4 the first one.
    [[nodiscard]] static ListenAddress address(std::uint8_t family,
                                               std::span<const std::uint32_t, 4> words);

    using Progress = NetlinkDump::Progress;

    /// Appends the sockets that the messages of one datagram tell of, as netlink(7) lays them out.
    /// Those of another request than that with @p sequence are passed over.
    static void parseMessages(std::string_view messages, std::uint32_t sequence,
                              std::vector<ListeningSocket> &sockets, Progress &progress);

private:
    void completeFromLast(std::vector<ListeningSocket> &sockets) const;
    /// The system call that failed; code 0 where none did.
    [[nodiscard]] SystemFailures::Failure listByDiagnostics(std::vector<ListeningSocket> &sockets);
    [[nodiscard]] SystemFailures::Failure dump(std::uint16_t type, std::uint8_t family,
                                               std::vector<ListeningSocket> &sockets,
                                               bool &interrupted);
    /// errno of the failure, or 0.
    [[nodiscard]] int request(std::uint16_t type, std::uint8_t family);
    [[nodiscard]] int receive(std::vector<ListeningSocket> &sockets, bool &interrupted);

    ListenerInventory::SocketSource m_source;
    FileDescriptor m_netlink;
    std::uint32_t m_sequence = 0;
    std::vector<ListeningSocket> m_last; ///< of diagnostics, by inode
};

} // namespace Tarnwick
