// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QString>

namespace Tarnwick {
namespace {

/// Has every message sent that a test gave to Qt before the process ends. Qt hands a message to the
/// thread that serves all connections as a bare pointer in an event, and drops the events that this
/// thread has not come to when it ends: LeakSanitizer then reports the message.
class SentMessages : public testing::Environment
{
public:
    void TearDown() override
    {
        // Opened in the same thread, after the events before it; there is no such socket.
        const QString name = QStringLiteral("after-the-last-message");
        static_cast<void>(
            QDBusConnection::connectToPeer(QStringLiteral("unix:path=/nonexistent/bus"), name));
        QDBusConnection::disconnectFromPeer(name);
    }
};

const testing::Environment *const environment =
    testing::AddGlobalTestEnvironment(new SentMessages());

} // namespace
} // namespace Tarnwick
