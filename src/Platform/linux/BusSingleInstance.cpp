// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusSingleInstance.h"

#include "Platform/linux/BusLink.h"
#include "Platform/linux/tarnwickadaptor.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

const QString ownService = QStringLiteral("com.velmora.tarnwick");
const QString ownPath = QStringLiteral("/com/velmora/tarnwick");
const QString ownInterface = QStringLiteral("com.velmora.tarnwick");

// Of the D-Bus specification, "org.freedesktop.DBus.RequestName".
constexpr unsigned doNotQueue = 4;
constexpr unsigned nameAlreadyOwned = 3;

/// An instance that takes longer hangs.
constexpr std::chrono::milliseconds answerTime{5000};

/// For as long others are asked. It is less, so that nobody is asked again who did not answer.
constexpr std::chrono::milliseconds askingTime{4000};

/// Until one that is ending may have left the bus.
constexpr std::chrono::milliseconds leaveTime{50};

template<class Handler>
void whenFinished(const QDBusPendingCall &call, QObject *owner, Handler handler)
{
    auto *watcher = new QDBusPendingCallWatcher(call, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [watcher, handler = std::move(handler)] {
                         watcher->deleteLater();
                         handler(*watcher);
                     });
}

} // namespace

std::unique_ptr<SingleInstance> SingleInstance::make()
{
    return std::make_unique<BusSingleInstance>();
}

void BusSingleInstance::setActivationHandler(Handler handler)
{
    m_activated = std::move(handler);
}

void BusSingleInstance::claim(Start start, ClaimHandler handler)
{
    m_start = start;
    m_claimed = std::move(handler);
    BusLink::open([self = QPointer(this)](std::shared_ptr<BusLink> link, const QString &) {
        if (self) {
            self->opened(std::move(link));
        }
    });
}

void BusSingleInstance::Activate()
{
    if (m_activated) {
        m_activated();
    }
}

void BusSingleInstance::opened(std::shared_ptr<BusLink> link)
{
    if (!link) {
        m_claimed(Claim::NoSessionBus);
        return;
    }
    m_link = std::move(link);
    // There before the name, so that who finds the name finds the object.
    new TarnwickAdaptor(this);
    QDBusConnection bus = m_link->connection();
    bus.registerObject(ownPath, this);
    m_asking.setRemainingTime(askingTime);
    requestName();
}

void BusSingleInstance::requestName()
{
    whenFinished(m_link->askBus(QStringLiteral("RequestName"), {ownService, doNotQueue}), this,
                 [this](const QDBusPendingCall &call) { nameAnswered(call); });
}

void BusSingleInstance::nameAnswered(const QDBusPendingCall &call)
{
    const QDBusPendingReply<unsigned> reply = call;
    if (reply.isError()) {
        m_claimed(Claim::NoSessionBus);
        return;
    }
    if (reply.value() != nameAlreadyOwned) {
        m_claimed(Claim::First);
        return;
    }
    if (m_start == Start::ByDesktop) {
        m_claimed(Claim::OtherRuns);
        return;
    }
    if (m_asking.hasExpired()) {
        m_claimed(Claim::OtherSilent);
        return;
    }
    askOther();
}

void BusSingleInstance::askOther()
{
    QDBusMessage request = QDBusMessage::createMethodCall(ownService, ownPath, ownInterface,
                                                          QStringLiteral("Activate"));
    request.setAutoStartService(false);
    const auto limit = static_cast<int>(answerTime.count());
    whenFinished(m_link->connection().asyncCall(request, limit), this,
                 [this](const QDBusPendingCall &call) {
                     if (!call.isError()) {
                         m_claimed(Claim::OtherRuns);
                         return;
                     }
                     // It may have been about to end: then the name is to be had now, or soon.
                     QTimer::singleShot(leaveTime, this, &BusSingleInstance::requestName);
                 });
}

} // namespace Tarnwick
