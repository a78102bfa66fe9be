// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Tarnwick {

/// What the command line of a program that forwards ports into another network namespace tells of
/// the namespace and the port there. What it does not tell has to be found in another way.
struct ForwarderCommand
{
    /// The programs, by the file name of their executable.
    enum class Program {
        DockerProxy,  ///< docker-proxy, of Docker
        RootlessPort, ///< rootlessport, of Podman: has a child of its own in the namespace
        RootlessKit,  ///< rootlesskit, of Docker and nerdctl without privilege: likewise
        Slirp4netns,  ///< slirp4netns(1)
        Pasta,        ///< pasta(1)
        Conmon        ///< conmon(8), of Podman: the container is its child
    };

    Program program = Program::DockerProxy;
    std::string address{};       ///< numeric, in the namespace
    std::uint16_t port = 0;      ///< in the namespace
    pid_t target = 0;            ///< a process in the namespace
    std::string namespaceFile{}; ///< a file that the namespace is mounted at
    std::string containerId{};
    std::string containerName{};

    /// The program at @p path; nothing for others. conmon forwards ports, and monitors containers
    /// that have none.
    [[nodiscard]] static std::optional<Program> programAt(std::string_view path);

    /// Where the packages of Debian, Fedora, Arch and others, and those of the programs' own
    /// makers, install @p program.
    [[nodiscard]] static std::span<const std::string_view> places(Program program);

    /// What @p arguments, the first of them the program's name, tell of where the TCP port @p
    /// port goes (0 for any). Nothing where they are none that the program forwards that port with.
    [[nodiscard]] static std::optional<ForwarderCommand>
    parse(Program program, std::span<const std::string> arguments, std::uint16_t port);
};

} // namespace Tarnwick
