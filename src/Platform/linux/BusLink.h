// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/BusCall.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>

namespace Tarnwick {

/// A connection of one's own to the session bus or to the system bus, closed with the last owner of
/// this object. The bus is found where sd-bus(3), and so the helper, finds it. The one that Qt
/// shares within the process is not used: it would stay broken for good when the bus is started
/// anew. Nothing here waits for the bus, nor does Qt for the sake of it: for Qt the link leads to a
/// peer, so signals are asked for here and names claimed through askBus(). Main thread.
class BusLink
{
public:
    /// The link, or why there is none.
    using Opened = std::function<void(std::shared_ptr<BusLink> link, const QString &failure)>;

    /// See BusCall.
    static constexpr int noTimeout = BusCall::noTimeout;

    /// Joins the session bus without keeping the caller waiting, and calls @p opened on the main
    /// thread.
    static void open(Opened opened);

    /// The same for the bus of the machine's services, which gets @p patience to let us in.
    static void openSystem(std::chrono::milliseconds patience, Opened opened);

    /// For open().
    explicit BusLink(QDBusConnection connection);
    ~BusLink();
    BusLink(const BusLink &) = delete;
    BusLink &operator=(const BusLink &) = delete;

    [[nodiscard]] const QDBusConnection &connection() const { return m_connection; }

    /// Calls a method of the bus itself; see BusCall::send().
    void askBus(const QString &method, const QVariantList &arguments, QObject *context,
                BusCall::Replied replied, BusCall::Options options = {}) const;

    /// Who is told what happens to the link, until it is replaced.
    struct Observer
    {
        std::function<void(const QString &from, const QString &to)> ownerChanged;
        std::function<void()> ended;
        std::function<void(const QDBusMessage &)> signalled{}; ///< as observeSignal() asks
    };

    /// Has @p observer told whenever @p name changes its owner (empty for none), and when the
    /// connection is gone. What is asked afterwards is answered after the changes before it.
    void observe(const QString &name, Observer observer);
    /// The same for one more name, the observer being there already.
    void observeOwner(const QString &name);
    void stopObserving();

    /// Has the observer, who is there already, told when anybody sends such a signal.
    void observeSignal(const QString &path, const QString &interface, const QString &member);

private:
    void addMatch(const QString &rule) const;

    QDBusConnection m_connection;
};

} // namespace Tarnwick
