// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input for the text of /proc/net/unix, an answer of socket diagnostics, a bus address
// and the name of a display.

#include "Helper/linux/SessionSockets.h"
#include "Helper/linux/UnixListeners.h"
#include "tests/Fuzz/Fuzzer.h"

#include <string>
#include <vector>

using namespace Tarnwick;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text = textOf(data, size);
    require(UnixListeners::possibleInodes(text).size() <= text.size());
    std::vector<UnixListener> listeners;
    NetlinkDump::Progress progress;
    UnixListeners::parse(text, 1, listeners, progress);
    require(listeners.size() <= text.size());
    require(SessionSockets::busAddresses(text).size() <= text.size());
    require(SessionSockets::displayAddresses(text).size() <= 2);
    return 0;
}
