// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SharedBusCheck.h"

#include "Platform/linux/BusAddress.h"
#include "Shared/FileDescriptor.h"

#include <QDBusConnection>
#include <QList>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string_view>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace Tarnwick {

namespace {

constexpr const char *variable = "DBUS_SESSION_BUS_ADDRESS";

bool failed = false;

struct SocketAddress
{
    sockaddr_un name = {};
    socklen_t size = 0;
};

/// The first of the addresses in @p list, in the D-Bus specification's format; nothing when it is
/// not of a Unix socket.
std::optional<SocketAddress> firstSocket(const QByteArray &list)
{
    const QByteArray first = list.split(';').first();
    if (!first.startsWith("unix:")) {
        return std::nullopt;
    }
    for (const QByteArray &pair : first.mid(5).split(',')) {
        const bool isAbstract = pair.startsWith("abstract=");
        if (!isAbstract && !pair.startsWith("path=")) {
            continue;
        }
        // unix(7): an abstract name begins with a zero byte, and has none at its end.
        QByteArray name = QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1));
        name = isAbstract ? name.prepend('\0') : name.append('\0');
        SocketAddress address;
        if (static_cast<std::size_t>(name.size()) > sizeof(address.name.sun_path)) {
            return std::nullopt;
        }
        address.name.sun_family = AF_UNIX;
        std::ranges::copy(name, address.name.sun_path);
        address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                       static_cast<socklen_t>(name.size());
        return address;
    }
    return std::nullopt;
}

/// False only where the bus keeps its client waiting: one that refuses is no trouble.
bool answers(const SocketAddress &address, std::chrono::milliseconds timeout)
{
    const FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const timeval limit = {.tv_sec = seconds.count(),
                           .tv_usec = std::chrono::microseconds(timeout - seconds).count()};
    // socket(7): the first of them bounds connect(2) as well.
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
        ::setsockopt(connection.get(), SOL_SOCKET, option, &limit, sizeof(limit));
    }
    const auto *name = reinterpret_cast<const sockaddr *>(&address.name);
    if (::connect(connection.get(), name, address.size) != 0) {
        return errno != EAGAIN;
    }
    // Asks which mechanisms of authentication there are.
    constexpr std::string_view request("\0AUTH\r\n", 7);
    char answer = 0;
    return ::send(connection.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0 ||
           ::recv(connection.get(), &answer, 1, 0) >= 0 || errno != EAGAIN;
}

} // namespace

SharedBusCheck::SharedBusCheck(std::chrono::milliseconds timeout)
    : m_address(qgetenv(variable))
{
    const std::optional<SocketAddress> socket = firstSocket(sessionBusAddress().toUtf8());
    failed = socket && !answers(*socket, timeout);
    if (failed) {
        // No socket can be there.
        qputenv(variable, "unix:path=/dev/null/bus");
    }
}

SharedBusCheck::~SharedBusCheck()
{
    if (!failed) {
        return;
    }
    // Qt keeps the failure, and our own connections and programs that we start need the address.
    static_cast<void>(QDBusConnection::sessionBus());
    if (m_address.isNull()) {
        qunsetenv(variable);
    } else {
        qputenv(variable, m_address);
    }
}

bool SharedBusCheck::hasFailed()
{
    return failed;
}

} // namespace Tarnwick
