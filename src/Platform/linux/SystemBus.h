// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>

#include <functional>
#include <memory>

namespace Tarnwick {

/// A connection of one's own to the bus of the machine's services, closed with the last owner of
/// this object. The one that Qt shares within the process is not used: it would stay broken for
/// good when the bus is started anew. Main thread.
class SystemBus
{
public:
    using Opened = std::function<void(std::shared_ptr<SystemBus> bus)>;

    /// Connects without keeping the caller waiting, and calls @p opened on the main thread. It may
    /// turn out not to be connected: see `connection().isConnected()`.
    static void open(Opened opened);

    /// For open().
    explicit SystemBus(QDBusConnection connection);
    ~SystemBus();
    SystemBus(const SystemBus &) = delete;
    SystemBus &operator=(const SystemBus &) = delete;

    [[nodiscard]] QDBusConnection &connection() { return m_connection; }

private:
    QDBusConnection m_connection;
};

} // namespace Tarnwick
