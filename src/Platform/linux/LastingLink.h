// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/BusLink.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace Tarnwick {

/// A link to the session bus for as long as the application runs: where the bus is gone, or not
/// there yet, another one is opened when it is back. It is looked for with pauses that grow; while
/// there is a link, nothing is done. Main thread.
class LastingLink : public QObject
{
    Q_OBJECT

public:
    struct Handlers
    {
        /// There is a new link.
        std::function<void(const std::shared_ptr<BusLink> &link)> joined;
        /// It is gone, or there was none to begin with. Not told again until there is one.
        std::function<void()> lost;
        /// The name that is watched has another owner, or none.
        std::function<void()> ownerChanged;
        /// A signal came that BusLink::observeSignal() asked for.
        std::function<void()> signalled;
    };

    /// Begins to look for the bus. There, who owns @p name is watched.
    LastingLink(QString name, Handlers handlers);
    ~LastingLink() override;

    /// Empty while there is none.
    [[nodiscard]] const std::shared_ptr<BusLink> &link() const { return m_link; }

private:
    void open();
    void opened(std::shared_ptr<BusLink> link);
    void ended();
    void lose();

    QString m_name;
    Handlers m_handlers;
    std::shared_ptr<BusLink> m_link;
    QTimer m_retry;
    std::chrono::milliseconds m_pause;
    bool m_isLossTold = false;
};

} // namespace Tarnwick
