// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/LaunchRole.h"

#include "Helper/ProcessTree.h"
#include "Helper/ShellUse.h"
#include "Helper/linux/LaunchingProgram.h"
#include "Helper/linux/ProcFs.h"

#include <optional>
#include <string>

namespace Tarnwick {

LaunchRole launchRoleOf(std::int32_t pid)
{
    constexpr std::size_t maxCommandLineBytes = 64UL * 1024;
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor directory = ProcFs::openProcess(root.get(), pid);
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(directory.get());
    if (!stat) {
        return LaunchRole::Command;
    }
    std::string executable;
    std::string commandLine;
    ProcFs::readLink(directory.get(), "exe", executable);
    ProcFs::readFile(directory.get(), "cmdline", commandLine, maxCommandLineBytes);
    switch (LaunchingProgram::ofProcess(stat->comm, executable, commandLine)) {
    case LaunchingProgram::Kind::Shell:
        return shellUseOf(argumentsOf(pid)) == ShellUse::Interactive ? LaunchRole::InteractiveShell
                                                                     : LaunchRole::ScriptShell;
    case LaunchingProgram::Kind::Wrapper:
        return LaunchRole::Wrapper;
    case LaunchingProgram::Kind::Host:
        return LaunchRole::Host;
    case LaunchingProgram::Kind::None:
        break;
    }
    return LaunchRole::Command;
}

} // namespace Tarnwick
