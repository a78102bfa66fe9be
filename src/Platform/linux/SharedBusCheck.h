// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <chrono>

namespace Tarnwick {

/// Keeps a session bus that does not answer from hanging the start. Qt shares a connection within
/// the process, which its accessibility makes on the main thread and without a time-out. Where the
/// bus lets nobody connect, or does not answer the first line of the authentication, that
/// connection is made to fail at once and for good. Made before the application object and
/// destroyed after that is there. Main thread.
class SharedBusCheck
{
public:
    static constexpr std::chrono::seconds defaultTimeout{5};

    /// Gives the bus @p timeout to let us connect, and once more each to be sent to and to answer.
    /// Of several addresses the first one counts that lets us connect. Nothing is checked from the
    /// first one on that is of another transport than a Unix socket.
    explicit SharedBusCheck(std::chrono::milliseconds timeout = defaultTimeout);
    ~SharedBusCheck();
    SharedBusCheck(const SharedBusCheck &) = delete;
    SharedBusCheck &operator=(const SharedBusCheck &) = delete;

    /// Whether the bus did not answer, so that whatever needs the shared connection cannot be had:
    /// icons that are announced on the bus, and accessibility.
    [[nodiscard]] static bool hasFailed();

private:
    QByteArray m_address; ///< the one that the environment had; null when it had none
};

} // namespace Tarnwick
