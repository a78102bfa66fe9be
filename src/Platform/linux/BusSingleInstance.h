// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/SingleInstance.h"
#include "Platform/linux/LastingLink.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

class QDBusMessage;

namespace Tarnwick {

/// The first instance is the one that owns the application's name on the session bus; the others
/// call a method of its object there.
class BusSingleInstance : public QObject, public SingleInstance
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultBusTimeout{10'000};

    /// @p busTimeout is how long the bus may take for each answer before the claim is decided
    /// without it.
    explicit BusSingleInstance(std::chrono::milliseconds busTimeout = defaultBusTimeout);
    ~BusSingleInstance() override = default;

    void setActivationHandler(Handler handler) override;
    void setReplacementHandler(Handler handler) override;
    void claim(Start start, ClaimHandler handler) override;

public Q_SLOTS:
    /// For the bus.
    void Activate(); // NOLINT(readability-identifier-naming): the method's name there

private:
    void joined(BusLink &link);
    void nameAnswered(const QDBusMessage &reply);
    void requestName();
    void askOther();
    void tell(Claim claim);

    std::unique_ptr<LastingLink> m_bus;
    Start m_start = Start::ByUser;
    QTimer m_busTimer;       ///< runs while the bus has to answer
    QDeadlineTimer m_asking; ///< of others
    ClaimHandler m_claimed;  ///< until it was told
    Handler m_activated;
    Handler m_replaced;
};

} // namespace Tarnwick
