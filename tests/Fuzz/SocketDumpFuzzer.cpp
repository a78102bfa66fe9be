// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input for the messages of a dump of socket diagnostics, answers to request 1, and for
// the text of /proc/net/tcp.

#include "Helper/linux/SocketDump.h"
#include "tests/Fuzz/Fuzzer.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>

using namespace Tarnwick;

namespace {

constexpr std::uint32_t sequence = 1;

/// MAX_ERRNO of the kernel's include/linux/err.h.
constexpr int greatestError = 4095;

void parseMessages(std::string_view messages)
{
    std::vector<ListeningSocket> sockets;
    SocketDump::Progress progress;
    SocketDump::parseMessages(messages, sequence, sockets, progress);
    require(sockets.size() <= messages.size() / (sizeof(nlmsghdr) + sizeof(inet_diag_msg)));
    require(progress.error >= 0 && progress.error <= greatestError);
    require(progress.isOver || progress.error == 0);
}

void parseTable(std::string_view table)
{
    std::vector<ListeningSocket> sockets;
    static_cast<void>(SocketDump::parseTable(table, sockets));
    require(sockets.size() <= table.size());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    parseMessages(textOf(data, size));
    parseTable(textOf(data, size));
    return 0;
}
