// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "tests/Support/TemporaryFolder.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

namespace Tarnwick {

/// A socket at a bus's address behind which nobody answers. Connections that wait there fail when
/// this object goes.
class UnresponsiveBus
{
public:
    enum class Manner : std::uint8_t {
        Silent, ///< connections are made
        Full,   ///< nor is there room for another connection
    };

    /// Throws std::runtime_error when there can be none.
    explicit UnresponsiveBus(Manner manner)
        : m_listening(open(0))
    {
        constexpr int manyConnections = 100;
        const sockaddr_un address = socketAddress();
        if (::bind(m_listening.get(), reinterpret_cast<const sockaddr *>(&address),
                   sizeof(address)) != 0 ||
            ::listen(m_listening.get(), manner == Manner::Full ? 0 : manyConnections) != 0) {
            throw std::runtime_error("no socket for a bus");
        }
        if (manner == Manner::Full) {
            fill(address);
        }
    }

    /// As in DBUS_SESSION_BUS_ADDRESS.
    [[nodiscard]] std::string address() const { return "unix:path=" + path(); }

private:
    static FileDescriptor open(int flags)
    {
        return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    }

    [[nodiscard]] std::string path() const { return (m_folder.path() / "bus").string(); }

    [[nodiscard]] sockaddr_un socketAddress() const
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path().c_str(), sizeof(address.sun_path) - 1);
        return address;
    }

    void fill(const sockaddr_un &address)
    {
        for (;;) {
            FileDescriptor connection = open(SOCK_NONBLOCK);
            if (::connect(connection.get(), reinterpret_cast<const sockaddr *>(&address),
                          sizeof(address)) != 0) {
                return;
            }
            m_connections.push_back(std::move(connection));
        }
    }

    TemporaryFolder m_folder;
    FileDescriptor m_listening;
    std::vector<FileDescriptor> m_connections;
};

} // namespace Tarnwick
