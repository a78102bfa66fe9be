// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorInput.h"

#include <cerrno>
#include <string_view>

#include <termios.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::string_view lineEnds = "\n\r";
/// What Ctrl-C and Ctrl-D send: ETX and EOT of ASCII.
constexpr std::string_view inputEnds = "\x03\x04";

} // namespace

bool DescriptorInput::isTerminal() const
{
    return isatty(m_descriptor) == 1;
}

std::error_code DescriptorInput::discardPending()
{
    return tcflush(m_descriptor, TCIFLUSH) == 0 ? std::error_code()
                                                : std::error_code(errno, std::generic_category());
}

std::optional<std::string> DescriptorInput::readLine()
{
    std::string line;
    while (true) {
        char character = '\0';
        const ssize_t count = read(m_descriptor, &character, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0 || inputEnds.find(character) != std::string_view::npos) {
            return std::nullopt;
        }
        if (lineEnds.find(character) != std::string_view::npos) {
            return line;
        }
        line += character;
    }
}

} // namespace Tarnwick
