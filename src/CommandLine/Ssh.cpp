// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Ssh.h"

#include "Shared/ShellQuoting.h"
#include "Shared/Utf8.h"

#include <algorithm>

namespace Tarnwick {

bool Ssh::isHost(std::string_view text)
{
    const auto isPlain = [](char character) {
        return static_cast<unsigned char>(character) > ' ' && character != '\x7f';
    };
    return !text.empty() && !text.starts_with('-') && Utf8::isValid(text) &&
           std::all_of(text.begin(), text.end(), isPlain);
}

std::vector<std::string> Ssh::command(const std::string &host,
                                      std::span<const std::string> arguments, Mode mode)
{
    std::vector<std::string> command{"ssh", mode == Mode::Terminal ? "-t" : "-T"};
    if (mode == Mode::Silent) {
        command.insert(command.end(), {"-o", "BatchMode=yes"});
    }
    // A configuration may forward ports, which would be taken; name another command; and have the
    // connection go on in the background for others, with the pipes of this one.
    command.insert(command.end(), {"-o", "ClearAllForwardings=yes", "-o", "RemoteCommand=none",
                                   "-o", "ControlMaster=no"});
    // What the command line says comes before what the configuration of ssh does.
    command.insert(command.end(), {"-o", "ConnectTimeout=10", "-o", "ServerAliveInterval=5", "-o",
                                   "ServerAliveCountMax=3", "--", host});
    // The shell of the user there takes it apart.
    std::string remote = "tarnwickctl";
    for (const std::string &argument : arguments) {
        remote += ' ';
        remote += ShellQuoting::quote(argument);
    }
    command.push_back(std::move(remote));
    return command;
}

} // namespace Tarnwick
