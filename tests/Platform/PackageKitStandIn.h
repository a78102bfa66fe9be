// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// A service in PackageKit's place on a bus, that answers as a test tells it. It belongs to the
/// test's own process, with a connection of its own.
class PackageKitStandIn : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// How a method of a transaction is answered.
    struct Script
    {
        std::vector<std::pair<unsigned, QString>> packages; ///< PkInfoEnum and identifier
        QString updateText;
        QString changeLog;
        QString error;          ///< the details of a signal ErrorCode; none when empty
        unsigned errorCode = 4; ///< PkErrorEnum
        unsigned exit = 1;      ///< PkExitEnum
        QString refusal;        ///< a D-Bus error instead of everything else
        bool neverEnds = false; ///< no signal Finished
        int steps = 0;          ///< of progress before it, each a `stepPause` after the other
    };

    static constexpr std::chrono::milliseconds stepPause{200};

    explicit PackageKitStandIn(const std::string &busAddress);
    ~PackageKitStandIn() override;

    /// Leaves the bus, as a daemon that crashes.
    void leave();

    std::map<QString, Script> scripts;         ///< by the name of the method
    std::vector<QString> calls;                ///< the methods of transactions, in order
    std::map<QString, QVariantList> arguments; ///< of the last call of each
    std::map<QString, QStringList> hints;      ///< that the transaction had
    std::function<void()> onCall;

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }

private:
    void play(const QDBusMessage &message, const Script &script);
    void playEnd(const QDBusMessage &message, const Script &script);
    void emitTo(const QDBusMessage &caller, const QString &name, const QVariantList &values);

    QDBusConnection m_bus;
    int m_count = 0;
    std::map<QString, QStringList> m_hintsOfPath;
};

} // namespace Tarnwick
