// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// tarnwickctl on other machines, by the ssh of this one, with its configuration, keys and known
/// hosts.
namespace Tarnwick::Ssh {

/// Whether @p text is something that ssh takes for a host, "[USER@]HOST" or "ssh://…", and not for
/// an option: UTF-8, not empty, without blanks or control characters, and without a dash in front.
[[nodiscard]] bool isHost(std::string_view text);

/// How ssh runs.
enum class Mode : std::uint8_t {
    Asking,   ///< it may ask for a password on the terminal of this process
    Silent,   ///< it asks for nothing: where several run at once, or nobody is there to answer
    Terminal, ///< as Asking; the program there has a terminal, which is that of this process
};

/// The command that runs tarnwickctl with @p arguments on @p host. A connection that is not made
/// within 10 s fails, and one whose other end does not answer for 15 s ends.
[[nodiscard]] std::vector<std::string> command(const std::string &host,
                                               std::span<const std::string> arguments, Mode mode);

} // namespace Tarnwick::Ssh
