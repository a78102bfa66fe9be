// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/SingleInstance.h"

#include <QDeadlineTimer>
#include <QObject>

#include <memory>

class QDBusMessage;
class QDBusPendingCall;

namespace Tarnwick {

class BusLink;

/// The first instance is the one that owns the application's name on the session bus; the others
/// call a method of its object there.
class BusSingleInstance : public QObject, public SingleInstance
{
    Q_OBJECT

public:
    BusSingleInstance() = default;
    ~BusSingleInstance() override = default;

    void setActivationHandler(Handler handler) override;
    void claim(Start start, ClaimHandler handler) override;

public Q_SLOTS:
    /// For the bus.
    void Activate(); // NOLINT(readability-identifier-naming): the method's name there

private:
    void opened(std::shared_ptr<BusLink> link);
    void nameAnswered(const QDBusPendingCall &call);
    void requestName();
    void askOther();

    std::shared_ptr<BusLink> m_link;
    Start m_start = Start::ByUser;
    QDeadlineTimer m_asking; ///< of others
    ClaimHandler m_claimed;
    Handler m_activated;
};

} // namespace Tarnwick
