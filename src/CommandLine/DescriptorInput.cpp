// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorInput.h"

#include <cerrno>

#include <unistd.h>

namespace Tarnwick {

bool DescriptorInput::isTerminal() const
{
    return isatty(m_descriptor) == 1;
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
        if (count <= 0) {
            return line.empty() ? std::nullopt : std::optional(line);
        }
        if (character == '\n') {
            return line;
        }
        line += character;
    }
}

} // namespace Tarnwick
