// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/OwnerText.h"

#include "CommandLine/TerminalText.h"

#include <cstddef>

namespace Tarnwick {

std::string OwnerText::ports(const std::vector<std::int64_t> &ports)
{
    std::string text = ports.size() == 1 ? "port " : "ports ";
    for (std::size_t index = 0; index < ports.size(); ++index) {
        const bool isLast = index + 1 == ports.size();
        text += index == 0 ? "" : (isLast ? " and " : ", ");
        text += std::to_string(ports[index]);
    }
    return text;
}

std::string OwnerText::process(const PortEntry &owner)
{
    const std::string name = TerminalText::printable(owner.process);
    if (owner.pid == 0) {
        return name + " (unknown owner)";
    }
    return name + " (pid " + std::to_string(owner.pid) + ")";
}

} // namespace Tarnwick
