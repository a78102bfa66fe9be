// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/StopAdvice.h"

#include "CommandLine/TerminalText.h"

namespace Tarnwick {

namespace {

std::string withCommand(std::string text, std::string_view purpose, std::string_view command)
{
    text += '.';
    if (!command.empty()) {
        text.append(" To stop it").append(purpose).append(": ");
        text += TerminalText::printable(command);
    }
    return text;
}

} // namespace

std::string StopAdvice::ofForwarder(std::string_view owner, std::string_view ports,
                                    const Forwarding &forwarding)
{
    std::string text(owner);
    text.append(" forwards ").append(ports);
    const bool isInContainer = !forwarding.container.id.empty();
    if (!forwarding.processName.empty()) {
        text += " to " + TerminalText::printable(forwarding.processName);
        text += isInContainer ? " in" : " (pid " + std::to_string(forwarding.pid) + ')';
    } else {
        text += isInContainer ? " to" : " to another network namespace";
    }
    if (isInContainer) {
        text += " container " + TerminalText::printable(forwarding.container.title());
    }
    return withCommand(std::move(text), {}, forwarding.stopCommand());
}

std::string StopAdvice::ofRestart(const Supervisor &supervisor)
{
    std::string text = TerminalText::printable(supervisor.name);
    if (supervisor.pid != 0) {
        text += " (pid " + std::to_string(supervisor.pid) + ')';
    }
    return withCommand(text + " has started it again", " for good", supervisor.stopCommand);
}

} // namespace Tarnwick
