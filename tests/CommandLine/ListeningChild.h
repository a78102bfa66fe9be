// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "tests/Support/TemporaryCopy.h"

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A process that the test started and that listens on 127.0.0.1: a copy of sleep(1) under a name
/// of the test's choice, with listening sockets that it inherited. It ends with the object.
class ListeningChild
{
public:
    struct Setup
    {
        std::string name = "shop-server";
        std::vector<std::string> arguments{}; ///< in place of its name, before how long to sleep
        std::size_t ports = 1;
        bool isSystem = false; ///< the system's own sleep(1), not a copy
        bool ignoresSigterm = false;
        bool hasChild = false;     ///< with a child of its own that holds the sockets, too
        bool childListens = false; ///< on the first port, with a socket of its own as well
        bool childInherits = true; ///< the sockets of its parent
        bool isShared = false;     ///< with SO_REUSEPORT, as where a child listens, too
    };

    explicit ListeningChild(const Setup &setup);
    ListeningChild()
        : ListeningChild(Setup{})
    {
    }
    ~ListeningChild();
    ListeningChild(const ListeningChild &) = delete;
    ListeningChild &operator=(const ListeningChild &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] int port(std::size_t index = 0) const { return m_ports.at(index); }
    [[nodiscard]] std::string portText(std::size_t index = 0) const
    {
        return std::to_string(port(index));
    }
    [[nodiscard]] std::string pidText() const { return std::to_string(m_pid); }
    /// The child of its own, or -1.
    [[nodiscard]] pid_t grandchild() const { return m_grandchild; }

    /// The number of the signal that ended the process; 0 while it lives.
    [[nodiscard]] int endedBy();

    /// Another socket that listens on the first port, which must be shared: one of the test's own,
    /// close-on-exec.
    [[nodiscard]] FileDescriptor shareFirstPort() const;

private:
    [[nodiscard]] std::filesystem::path program(const Setup &setup) const;

    TemporaryCopy m_copies;
    std::vector<int> m_ports;
    /// Bound to the ports: the kernel gives none of them to another process meanwhile, also after
    /// the child has ended.
    std::vector<FileDescriptor> m_reserved;
    pid_t m_pid = -1;
    pid_t m_grandchild = -1;
};

} // namespace Tarnwick
