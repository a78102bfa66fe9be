// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace Tarnwick {

/// A container that a process runs in. All texts are made of letters, digits, ".", "_" and "-", so
/// that they can stand in a command line as they are.
struct Container
{
    std::string id{};   ///< 64 hexadecimal digits of most runtimes; the name where there are none
    std::string name{}; ///< empty where it could not be read
    /// "docker", "podman", "kubernetes", "containerd", "lxc", "lxd", "incus" or "nspawn"; empty
    /// where it is unknown.
    std::string runtime{};
    bool isOfUser = false; ///< run by a user's own runtime, without privilege

    /// What people call it: the name, or the first eight digits of the identifier.
    [[nodiscard]] std::string title() const;

    /// The command line that stops the container; empty where the runtime is unknown.
    [[nodiscard]] std::string stopCommand() const;

    friend bool operator==(const Container &, const Container &) = default;
};

/// What a process that forwards a port forwards it to: a process in another network namespace. All
/// texts are UTF-8.
struct Forwarding
{
    std::string forwarder{};   ///< file name of the forwarder's executable, "docker-proxy"
    std::int32_t pid = 0;      ///< of the process behind; 0 where it is unknown
    std::uint16_t port = 0;    ///< in its network namespace; 0 where it is unknown
    std::string processName{}; ///< of the process behind; empty where it is unknown
    std::string command{};     ///< its arguments, joined with blanks; likewise
    Container container{};     ///< no identifier where the process is in none that is recognised

    /// What the forwarder does, as it stands behind a command line: "in container 3f2a9c1d via
    /// docker-proxy".
    [[nodiscard]] std::string place() const;

    /// The command line that ends what is behind; empty where there is none.
    [[nodiscard]] std::string stopCommand() const;

    friend bool operator==(const Forwarding &, const Forwarding &) = default;
};

} // namespace Tarnwick
