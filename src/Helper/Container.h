// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace Tarnwick {

/// A container, as the control groups of its processes tell of it.
struct Container
{
    std::string id{};      ///< as the runtime has it, 64 hexadecimal digits of most; may be empty
    std::string name{};    ///< that a person gave it; empty when it is not known
    std::string runtime{}; ///< "docker", "podman", "lxc", …; empty when it is not known

    friend bool operator==(const Container &, const Container &) = default;
};

/// Where a forwarder passes the connections of a port on to: a process in the network namespace of
/// a container.
struct Forwarding
{
    std::string forwarder{}; ///< the name of the forwarder's program, "docker-proxy"
    std::int32_t pid = 0;    ///< of the process that listens in the container; 0 when not known
    std::uint16_t port = 0;  ///< on which it listens there
    std::string processName{};
    std::string command{}; ///< its command line
    Container container{};

    friend bool operator==(const Forwarding &, const Forwarding &) = default;
};

} // namespace Tarnwick
