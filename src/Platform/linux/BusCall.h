// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QLatin1String>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <functional>
#include <limits>

class QObject;

/// Method calls whose replies count only when the called process sent them. The stock session bus
/// delivers replies that nobody asked for, and libdbus matches replies by serial number alone,
/// which is easy to guess or to eavesdrop. What cannot be forged is the sender: the bus daemon
/// enters it. Every reply that this layer reads is read through here. Main thread.
namespace Tarnwick::BusCall {

/// For calls that wait for their reply however long it takes: DBUS_TIMEOUT_INFINITE of libdbus.
inline constexpr int noTimeout = std::numeric_limits<int>::max();
/// That of libdbus, 25 s.
inline constexpr int defaultTimeout = -1;

/// A forged reply uses the call up: libdbus drops the true reply that follows.
enum class AfterForgery : std::uint8_t {
    CallAgain, ///< for calls that may be made twice; fails after @ref maxForgedReplies
    Fail,
};

struct Options
{
    int timeout = noTimeout; ///< milliseconds
    AfterForgery afterForgery = AfterForgery::CallAgain;
};

/// How many forged replies one call survives.
inline constexpr int maxForgedReplies = 10;

/// The name of the error that stands for a forged reply.
inline constexpr QLatin1String forgedReply{"com.velmora.tarnwick.Error.ForgedReply"};

/// Gets the reply, or an error: of the called process, the bus daemon, the library, or
/// @ref forgedReply.
using Replied = std::function<void(const QDBusMessage &reply)>;

/// Sends @p call, which is addressed to a unique name or to the bus daemon. @p replied is called
/// once, unless @p context is destroyed first.
void send(const QDBusConnection &connection, const QDBusMessage &call, QObject *context,
          Replied replied, Options options = {});

/// Sends @p call, which is addressed to a well-known name, to the unique name that owns it now. A
/// name without an owner is an error, unless the call starts services (autoStartService()) and the
/// bus has one by that name.
void sendToOwner(const QDBusConnection &connection, const QDBusMessage &call, QObject *context,
                 const Replied &replied, Options options = {});

/// A call of a method of the bus daemon.
[[nodiscard]] QDBusMessage toBusDaemon(const QString &method, const QVariantList &arguments);

/// The first argument of @p reply; empty for an error or anything but a text.
[[nodiscard]] QString text(const QDBusMessage &reply);

} // namespace Tarnwick::BusCall
