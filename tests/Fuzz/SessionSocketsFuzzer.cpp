// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input for the text of /proc/net/unix, a bus address and the name of a display.

#include "Helper/linux/SessionSockets.h"
#include "tests/Fuzz/Fuzzer.h"

#include <string>
#include <vector>

using namespace Tarnwick;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text = textOf(data, size);
    const std::vector<SessionSockets::Address> addresses{
        {"/run/user/1000/bus", SessionGuard::Part::MessageBus},
        {"@/tmp/.X11-unix/X0", SessionGuard::Part::DisplayServer}};
    require(SessionSockets::listening(text, addresses).size() <= text.size());
    require(SessionSockets::listening(text, {}).empty());
    require(SessionSockets::busNames(text).size() <= text.size());
    require(SessionSockets::displayNames(text).size() <= 2);
    return 0;
}
