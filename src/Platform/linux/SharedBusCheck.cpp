// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SharedBusCheck.h"

#include "Platform/linux/BusAddress.h"
#include "Shared/FileDescriptor.h"

#include <QByteArrayView>
#include <QDBusConnection>
#include <QList>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
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

/// The socket of @p address, in the D-Bus specification's format; nothing when it has none that a
/// client can connect to.
std::optional<SocketAddress> socketOf(const QByteArray &address)
{
    for (const QByteArray &pair : address.mid(address.indexOf(':') + 1).split(',')) {
        const bool isAbstract = pair.startsWith("abstract=");
        if (!isAbstract && !pair.startsWith("path=")) {
            continue;
        }
        // unix(7): an abstract name begins with a zero byte, and has none at its end.
        QByteArray name = QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1));
        name = isAbstract ? name.prepend('\0') : name.append('\0');
        SocketAddress socket;
        if (static_cast<std::size_t>(name.size()) > sizeof(socket.name.sun_path)) {
            return std::nullopt;
        }
        socket.name.sun_family = AF_UNIX;
        std::ranges::copy(name, socket.name.sun_path);
        socket.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                      static_cast<socklen_t>(name.size());
        return socket;
    }
    return std::nullopt;
}

/// Whether libdbus connects to addresses like @p address in a way that is not checked here.
bool isUnchecked(const QByteArray &address)
{
    constexpr std::array<QByteArrayView, 5> transports{
        "tcp:", "nonce-tcp:", "unixexec:", "autolaunch:", "launchd:"};
    return std::ranges::any_of(
        transports, [&address](QByteArrayView transport) { return address.startsWith(transport); });
}

/// Repeats @p call, which blocks on @p socket, while signals interrupt it: whatever their handlers
/// say, signal(7) has no call restarted on a socket with a time-out. @p option is the socket(7)
/// option that bounds it. Fails with EAGAIN after @p timeout.
template<class Call>
ssize_t repeat(int socket, int option, std::chrono::milliseconds timeout, Call call)
{
    using std::chrono::steady_clock;
    const steady_clock::time_point deadline = steady_clock::now() + timeout;
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::microseconds>(deadline - steady_clock::now());
        if (left.count() <= 0) { // none would be no limit
            errno = EAGAIN;
            return -1;
        }
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timeval limit = {.tv_sec = seconds.count(), .tv_usec = (left - seconds).count()};
        ::setsockopt(socket, SOL_SOCKET, option, &limit, sizeof(limit));
        if (const ssize_t result = call(); result >= 0 || errno != EINTR) {
            return result;
        }
    }
}

/// What there is at an address.
enum class Peer : std::uint8_t {
    None, ///< a client fails to connect, and tries the next address
    Answering,
    Unresponsive, ///< keeps its client waiting
};

Peer peerAt(const SocketAddress &address, std::chrono::milliseconds timeout)
{
    const FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int socket = connection.get();
    const auto *name = reinterpret_cast<const sockaddr *>(&address.name);
    if (repeat(socket, SO_SNDTIMEO, timeout,
               [&] { return ::connect(socket, name, address.size); }) != 0) {
        return errno == EAGAIN ? Peer::Unresponsive : Peer::None;
    }
    // Asks which mechanisms of authentication there are.
    constexpr std::string_view request("\0AUTH\r\n", 7);
    if (repeat(socket, SO_SNDTIMEO, timeout,
               [&] { return ::send(socket, request.data(), request.size(), MSG_NOSIGNAL); }) < 0) {
        return errno == EAGAIN ? Peer::Unresponsive : Peer::Answering;
    }
    char answer = 0;
    const ssize_t size =
        repeat(socket, SO_RCVTIMEO, timeout, [&] { return ::recv(socket, &answer, 1, 0); });
    return size < 0 && errno == EAGAIN ? Peer::Unresponsive : Peer::Answering;
}

/// False only where the bus keeps its client waiting: one that refuses is no trouble. As libdbus
/// does, takes the first address in @p list that lets a client connect.
bool answers(const QByteArray &list, std::chrono::milliseconds timeout)
{
    for (const QByteArray &address : list.split(';')) {
        if (isUnchecked(address)) {
            return true;
        }
        const std::optional<SocketAddress> socket =
            address.startsWith("unix:") ? socketOf(address) : std::nullopt;
        const Peer peer = socket ? peerAt(*socket, timeout) : Peer::None;
        if (peer != Peer::None) {
            return peer == Peer::Answering;
        }
    }
    return true;
}

} // namespace

SharedBusCheck::SharedBusCheck(std::chrono::milliseconds timeout)
    : m_address(qgetenv(variable))
{
    failed = !answers(sessionBusAddress().toUtf8(), timeout);
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
