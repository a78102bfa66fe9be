// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// One thing that PackageKit is asked to do, from its creation to its end: see the interface
/// org.freedesktop.PackageKit.Transaction of PackageKit 1.x. Started once; always ends, also when
/// the daemon or the bus goes, or when nothing is heard of it for too long. Main thread.
class PackageKitTransaction : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QString method;
        QVariantList arguments;
        QStringList hints;
        /// How long the daemon may send neither a signal of this transaction nor its progress.
        std::chrono::milliseconds patience{};
    };

    struct Package
    {
        QString id; ///< "name;version;architecture;origin"
        bool isBlocked = false;
    };

    struct Outcome
    {
        std::optional<std::string> failure; ///< in words for the user
        bool isRefused = false; ///< the failure: the system, or the user, did not allow the request
        std::vector<Package> packages; ///< those that it told of, in order
        QString updateText;
        QString changeLog;
    };

    /// @p bus is the transaction's alone until it has ended.
    PackageKitTransaction(std::shared_ptr<BusLink> bus, Request request);
    ~PackageKitTransaction() override;

    void start();

    /// Ends it at once, in a failure, also where the daemon does not heed it. Nothing when it has
    /// ended.
    void cancel();

Q_SIGNALS:
    /// Comes once, last of all.
    void ended(Tarnwick::PackageKitTransaction::Outcome outcome);

private:
    using Answered = std::function<void(const QDBusMessage &reply)>;

    [[nodiscard]] QDBusMessage call(const QString &method, const QVariantList &arguments) const;
    void send(const QDBusMessage &message, Answered answered);
    void created(const QDBusMessage &reply);
    void listen();
    void told(const QDBusMessage &signal);
    void giveUp(const std::string &words);
    void fail(const std::string &words);
    void failWith(const QDBusMessage &error);
    void end();

    void packageTold(const QDBusMessage &signal);
    void updateDetailTold(const QDBusMessage &signal);
    void errorTold(const QDBusMessage &signal);
    void finished(const QDBusMessage &signal);

    std::shared_ptr<BusLink> m_bus;
    Request m_request;
    QString m_owner; ///< the daemon's own name on the bus
    QString m_path;
    Outcome m_outcome;
    QTimer m_silence; ///< runs since the last signal
    bool m_hasEnded = false;
};

} // namespace Tarnwick
