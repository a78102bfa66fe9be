// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusLink.h"

#include "Core/MainThread.h"
#include "Platform/linux/BusAddress.h"
#include "Platform/linux/BusNames.h"
#include "Platform/linux/BusSignals.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusMessage>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <iterator>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

QString nextName()
{
    static unsigned count = 0;
    return QStringLiteral("tarnwick-bus-%1").arg(++count);
}

QString systemAddress()
{
    const QString told = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return told.isEmpty() ? QStringLiteral("unix:path=/run/dbus/system_bus_socket") : told;
}

/// What Qt may keep its caller waiting in: opening and closing take their turn in its one thread
/// for all connections, which others may have blocked: a bus whose queue of connections is full, or
/// the close of a descriptor that came with a message, of a file system that does not answer. It is
/// done in threads of its own. The end of the application waits for them, since Qt's part in them
/// ends with it; Qt's own end waits for its thread in the same way. Neither has a bound: a program
/// sets one for its whole end. Main thread.
class Errands
{
public:
    static Errands &shared()
    {
        static Errands errands;
        return errands;
    }

    void run(std::function<void()> errand)
    {
        if (m_closed) {
            errand();
            return;
        }
        forgetFinished();
        m_running.push_back(std::async(std::launch::async, std::move(errand)));
    }

private:
    Errands()
    {
        qAddPostRoutine([] { shared().close(); });
    }

    /// What an errand held goes with it, which may be the last of a link, and so lead to another
    /// errand: it goes when the list is as it is to be.
    void forgetFinished()
    {
        const auto isRunning = [](const std::future<void> &errand) {
            return errand.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
        };
        const auto middle = std::partition(m_running.begin(), m_running.end(), isRunning);
        const std::vector<std::future<void>> finished(std::make_move_iterator(middle),
                                                      std::make_move_iterator(m_running.end()));
        m_running.erase(middle, m_running.end());
    }

    void close()
    {
        m_closed = true;
        const std::vector<std::future<void>> last = std::exchange(m_running, {});
    }

    bool m_closed = false;
    std::vector<std::future<void>> m_running;
};

QString ruleForOwner(const QString &name)
{
    return QStringLiteral("type='signal',sender='%1',path='%2',interface='%1',member='%3',"
                          "arg0='%4'")
        .arg(BusNames::busService, BusNames::busPath, BusNames::nameOwnerChanged, name);
}

/// Makes @p link, a connection that was just opened, a member of the bus.
void join(const std::shared_ptr<BusLink> &link, int timeout, const BusLink::Opened &opened)
{
    if (!link->connection().isConnected()) {
        opened(nullptr, link->connection().lastError().message());
        return;
    }
    link->askBus(QStringLiteral("Hello"), {}, QCoreApplication::instance(),
                 [link, opened](const QDBusMessage &reply) {
                     const bool joined = reply.type() == QDBusMessage::ReplyMessage;
                     opened(joined ? link : nullptr, reply.errorMessage());
                 },
                 {.timeout = timeout, .afterForgery = BusCall::AfterForgery::Fail});
}

/// Opens a link to the bus at @p address, which has @p timeout milliseconds to answer.
void openLink(const QString &address, int timeout, BusLink::Opened opened)
{
    // There before Qt's thread, which looks at it.
    static_cast<void>(BusSignals::shared());
    // As if the bus were a peer: to join a bus by itself, Qt would wait for the answer to its Hello
    // in the thread that serves all connections, and everybody who needs that thread with it.
    Errands::shared().run([opened = std::move(opened), address, timeout, name = nextName()] {
        const QDBusConnection connection = QDBusConnection::connectToPeer(address, name);
        MainThread::post([opened, timeout, connection] {
            join(std::make_shared<BusLink>(connection), timeout, opened);
        });
    });
}

} // namespace

void BusLink::open(Opened opened)
{
    openLink(sessionBusAddress(), noTimeout, std::move(opened));
}

void BusLink::openSystem(std::chrono::milliseconds patience, Opened opened)
{
    openLink(systemAddress(), static_cast<int>(patience.count()), std::move(opened));
}

BusLink::BusLink(QDBusConnection connection)
    : m_connection(std::move(connection))
{
}

BusLink::~BusLink()
{
    stopObserving();
    Errands::shared().run(
        [name = m_connection.name()] { QDBusConnection::disconnectFromPeer(name); });
}

void BusLink::askBus(const QString &method, const QVariantList &arguments, QObject *context,
                     BusCall::Replied replied, BusCall::Options options) const
{
    BusCall::send(m_connection, BusCall::toBusDaemon(method, arguments), context,
                  std::move(replied), options);
}

void BusLink::observe(const QString &name, Observer observer)
{
    addMatch(ruleForOwner(name));
    const auto handler = [observer = std::move(observer)](const QDBusMessage &signal) {
        if (signal.interface() == BusNames::localInterface) {
            observer.ended();
        } else if (signal.interface() != BusNames::busService) {
            observer.signalled(signal);
        } else if (signal.service() == BusNames::busService) { // anybody may send the like
            const QVariantList arguments = signal.arguments();
            observer.ownerChanged(arguments.value(1).toString(), arguments.value(2).toString());
        }
    };
    BusSignals::shared().observe(m_connection, name, handler);
}

void BusLink::observeOwner(const QString &name)
{
    addMatch(ruleForOwner(name));
    BusSignals::shared().receiveOwner(m_connection, name);
}

void BusLink::stopObserving()
{
    BusSignals::shared().forget(m_connection);
}

void BusLink::observeSignal(const QString &path, const QString &interface, const QString &member)
{
    addMatch(QStringLiteral("type='signal',path='%1',interface='%2',member='%3'")
                 .arg(path, interface, member));
    BusSignals::shared().receive(m_connection, path, interface, member);
}

void BusLink::addMatch(const QString &rule) const
{
    m_connection.send(BusCall::toBusDaemon(QStringLiteral("AddMatch"), {rule}));
}

} // namespace Tarnwick
