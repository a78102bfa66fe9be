// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <memory>
#include <optional>

class QDBusMessage;

namespace Tarnwick {

class BusLink;

/// Whether the session has a tray that shows icons which are announced on the bus
/// (StatusNotifierItem). Asked without waiting; followed from then on. Main thread.
class NotifierHosts : public QObject
{
    Q_OBJECT

public:
    /// Begins to find out.
    NotifierHosts();

    /// Nothing as long as that is not known.
    [[nodiscard]] std::optional<bool> arePresent() const { return m_present; }

Q_SIGNALS:
    /// It is known now, or something else is true now.
    void changed();

private Q_SLOTS:
    void ask();

private:
    void opened(std::shared_ptr<BusLink> link);
    void settle(bool present);

    std::shared_ptr<BusLink> m_link;
    std::optional<bool> m_present;
};

} // namespace Tarnwick
