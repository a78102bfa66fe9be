// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <string>
#include <string_view>

namespace Tarnwick {

/// One message of the talk between a test and its puppet: words, and perhaps a descriptor.
struct PuppetMessage
{
    std::string text;
    FileDescriptor descriptor;
    bool ended = false; ///< the other side is gone
};

/// The descriptor under which a puppet has its end of the channel, out of the way of the others.
inline constexpr int puppetChannel = 200;

/// Sends over a socket of type SOCK_SEQPACKET; false when nobody receives.
bool sendMessage(int channel, std::string_view text, int descriptor = -1);

PuppetMessage receiveMessage(int channel);

} // namespace Tarnwick
