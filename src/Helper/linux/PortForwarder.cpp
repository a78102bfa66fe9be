// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortForwarder.h"

#include "Helper/linux/ContainerLookup.h"
#include "Helper/linux/ForwardingResolution.h"
#include "Helper/linux/InstalledExecutable.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessInspector.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace Tarnwick {

std::optional<Forwarding> forwardingOf(std::int32_t pid, std::uint16_t port)
{
    constexpr std::chrono::milliseconds maxTime{1000};
    constexpr std::size_t longestCommandLine = 64UL * 1024;
    const FileDescriptor root = ProcFs::openRoot();
    std::string path;
    if (!root || !ProcFs::readLink(root.get(), (std::to_string(pid) + "/exe").c_str(), path)) {
        return std::nullopt;
    }
    constexpr std::string_view deletedMark = " (deleted)";
    if (path.ends_with(deletedMark)) {
        path.resize(path.size() - deletedMark.size());
    }
    const std::optional<ForwarderCommand::Program> program = ForwarderCommand::programAt(path);
    std::string text;
    const FileDescriptor file =
        program ? ProcFs::openOfProcess(root.get(), pid, "/cmdline") : FileDescriptor();
    if (!file || !ProcFs::readWhole(file.get(), text, longestCommandLine)) {
        return std::nullopt;
    }
    ForwardingResolution resolution(root.get(), ForwardingResolution::Clock::now() + maxTime);
    std::optional<Forwarding> found =
        resolution.find(pid, *program, ProcessInspector::splitArguments(text), port);
    const bool isInstalled =
        InstalledExecutable::match(root.get(), pid, ForwarderCommand::places(*program)) ==
        InstalledExecutable::Match::Known;
    if (isInstalled && !found && resolution.isCut()) {
        found = Forwarding{.forwarder = path.substr(path.rfind('/') + 1)};
    }
    const bool isProven =
        isInstalled || (found && found->pid != 0 && ContainerLookup::of(root.get(), found->pid));
    return isProven ? found : std::nullopt;
}

std::optional<Container> containerOf(std::int32_t pid)
{
    const FileDescriptor root = ProcFs::openRoot();
    return root ? ContainerLookup::of(root.get(), pid) : std::nullopt;
}

} // namespace Tarnwick
