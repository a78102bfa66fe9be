// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/NetlinkDump.h"
#include "Helper/linux/SystemFailures.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// A socket of the UNIX domain in the state LISTEN, as the kernel reports it.
struct UnixListener
{
    std::uint32_t inode = 0;
    /// The address as it was bound, without the end of sockaddr_un that it left unused: a path, as
    /// the process that bound it saw it, or a NUL and an abstract name of any bytes.
    std::string name;
    std::uint32_t file = 0;   ///< the lower half of the inode that was bound; 0 for abstract names
    std::uint32_t device = 0; ///< of the file system of that inode, as fileDevice() makes it
};

/// The listening sockets of the UNIX domain in the network namespace of this process. Any thread.
class UnixListeners
{
public:
    UnixListeners() = delete;

    /// From socket diagnostics (sock_diag(7), unix_diag); the system call and its errno where they
    /// are refused, fail or are no part of this kernel (ENOENT).
    [[nodiscard]] static std::variant<std::vector<UnixListener>, SystemFailures::Failure> list();

    /// A device number as socket diagnostics write it, MKDEV of the kernel's linux/kdev_t.h.
    [[nodiscard]] static std::uint32_t fileDevice(unsigned major, unsigned minor);

    /// Appends the sockets that the messages of one datagram stand for; those of another request
    /// than that with @p sequence are passed over.
    static void parse(std::string_view messages, std::uint32_t sequence,
                      std::vector<UnixListener> &found, NetlinkDump::Progress &progress);

    /// The inodes of listening sockets in the text of /proc/net/unix. An abstract name stands there
    /// with its line feeds, so anybody can add lines: each listening socket is among these, but not
    /// each of these is one.
    [[nodiscard]] static std::set<std::uint32_t> possibleInodes(std::string_view table);
};

} // namespace Tarnwick
