// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/ReplySender.h"

#include <QDBusMessage>
#include <QString>

#include <private/qdbusmessage_p.h>

namespace Tarnwick {

namespace {

QDBusMessagePrivate *contentsOf(const QDBusMessage &message);

/// Defines contentsOf(). An explicit instantiation may name a private member: Qt keeps the sender
/// of a reply there and has no function that returns it.
template<QDBusMessagePrivate *QDBusMessage::*member>
struct Contents
{
    friend QDBusMessagePrivate *contentsOf(const QDBusMessage &message) { return message.*member; }
};

template struct Contents<&QDBusMessage::d_ptr>;

} // namespace

QString replySender(const QDBusMessage &reply)
{
    return contentsOf(reply)->service;
}

} // namespace Tarnwick
