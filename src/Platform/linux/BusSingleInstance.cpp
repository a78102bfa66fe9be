// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusSingleInstance.h"

#include "Platform/linux/SharedBusCheck.h"
#include "Platform/linux/tarnwickadaptor.h"

#include <QDBusMessage>

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

} // namespace

std::unique_ptr<SingleInstance> SingleInstance::make()
{
    // A bus that has kept the start waiting does so no longer.
    return std::make_unique<BusSingleInstance>(SharedBusCheck::hasFailed()
                                                   ? std::chrono::milliseconds(0)
                                                   : BusSingleInstance::defaultBusTimeout);
}

BusSingleInstance::BusSingleInstance(std::chrono::milliseconds busTimeout)
{
    new TarnwickAdaptor(this);
    m_busTimer.setSingleShot(true);
    m_busTimer.setInterval(busTimeout);
    m_busTimer.callOnTimeout(this, [this] { tell(Claim::BusUnresponsive); });
}

void BusSingleInstance::setActivationHandler(Handler handler)
{
    m_activated = std::move(handler);
}

void BusSingleInstance::setReplacementHandler(Handler handler)
{
    m_replaced = std::move(handler);
}

void BusSingleInstance::claim(Start start, ClaimHandler handler)
{
    m_start = start;
    m_claimed = std::move(handler);
    m_busTimer.start();
    m_bus = std::make_unique<LastingLink>(
        ownService, LastingLink::Handlers{
                        .joined = [this](const std::shared_ptr<BusLink> &link) { joined(*link); },
                        .lost = [this] { tell(Claim::NoSessionBus); },
                        .ownerChanged = [] {},
                        .signalled = [] {}});
}

void BusSingleInstance::Activate()
{
    if (m_activated) {
        m_activated();
    }
}

void BusSingleInstance::joined(BusLink &link)
{
    // There before the name, so that who finds the name finds the object.
    QDBusConnection bus = link.connection();
    bus.registerObject(ownPath, this);
    m_asking.setRemainingTime(askingTime);
    requestName();
}

void BusSingleInstance::requestName()
{
    const std::shared_ptr<BusLink> link = m_bus->link();
    if (!link) {
        return;
    }
    m_busTimer.start();
    link->askBus(QStringLiteral("RequestName"), {ownService, doNotQueue}, this,
                 [this](const QDBusMessage &reply) { nameAnswered(reply); });
}

void BusSingleInstance::nameAnswered(const QDBusMessage &reply)
{
    m_busTimer.stop();
    if (reply.type() != QDBusMessage::ReplyMessage || !m_bus->link()) {
        tell(Claim::NoSessionBus);
        return;
    }
    if (reply.arguments().value(0).toUInt() != nameAlreadyOwned) {
        tell(Claim::First);
        return;
    }
    if (!m_claimed) {
        m_replaced();
        return;
    }
    if (m_start == Start::ByDesktop) {
        tell(Claim::OtherRuns);
        return;
    }
    if (m_asking.hasExpired()) {
        tell(Claim::OtherSilent);
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
    BusCall::sendToOwner(m_bus->link()->connection(), request, this,
                         [this](const QDBusMessage &reply) {
                             if (reply.type() == QDBusMessage::ReplyMessage) {
                                 tell(Claim::OtherRuns);
                                 return;
                             }
                             // It may have been about to end: then the name is to be had now, or
                             // soon.
                             QTimer::singleShot(leaveTime, this, &BusSingleInstance::requestName);
                         },
                         {.timeout = limit, .afterForgery = BusCall::AfterForgery::Fail});
}

void BusSingleInstance::tell(Claim claim)
{
    if (const ClaimHandler told = std::exchange(m_claimed, nullptr)) {
        told(claim);
    }
}

} // namespace Tarnwick
