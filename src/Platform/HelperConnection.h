// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// An error that the helper answered a request with.
struct HelperError
{
    std::string description; ///< for people
    std::string domain;      ///< "posix" for errors of the system
    std::int64_t code = 0;   ///< in that domain: of posix, the errno
};

/// The helper as seen through a connection: what can be asked of it. Each request is sent at once
/// or as soon as the connection is there. A reply is called once, on any thread; never when the
/// connection breaks before the helper has answered: then the proxy's error handler is called
/// instead, and the reply is let go. Requests and replies outlive the proxy and the connection.
class HelperProxy
{
public:
    /// The payload of a listing, absent when the helper sent none.
    using ListReply =
        std::function<void(std::optional<QByteArray> payload, std::optional<HelperError> error)>;
    /// The number of a KillResultCode, or another one from a helper that is not ours.
    using KillReply = std::function<void(std::int32_t code, std::optional<HelperError> error)>;

    HelperProxy() = default;
    virtual ~HelperProxy() = default;
    HelperProxy(const HelperProxy &) = delete;
    HelperProxy &operator=(const HelperProxy &) = delete;

    virtual void listListeningPorts(ListReply reply) = 0;
    virtual void killProcess(std::int32_t pid, KillReply reply) = 0;
};

/// A connection to the helper, which it starts when it does not run. Requests go to a process that
/// is our helper, and to no other one. Made and used on the main thread; its handlers are called on
/// any.
class HelperConnection
{
public:
    using Handler = std::function<void()>;
    using ErrorHandler = std::function<void(const std::string &description)>;

    HelperConnection() = default;
    virtual ~HelperConnection() = default;
    HelperConnection(const HelperConnection &) = delete;
    HelperConnection &operator=(const HelperConnection &) = delete;

    /// Called when the connection is of no use any more: it broke, it could not be made, or what
    /// answers is not our helper. At most once.
    virtual void setInvalidationHandler(Handler handler) = 0;

    /// Called when the helper has ended; another connection may start it again. At most once.
    virtual void setInterruptionHandler(Handler handler) = 0;

    /// Begins to connect, without waiting. Call it once, after the handlers are set.
    virtual void resume() = 0;

    /// What requests are sent through; @p failed is told of each that gets no reply. Nothing when
    /// what the connection leads to cannot be asked what HelperProxy offers.
    [[nodiscard]] virtual std::shared_ptr<HelperProxy> remoteObjectProxy(ErrorHandler failed) = 0;

    /// A connection as this platform makes it. It is not yet resumed.
    [[nodiscard]] static std::unique_ptr<HelperConnection> toHelper();
};

} // namespace Tarnwick
