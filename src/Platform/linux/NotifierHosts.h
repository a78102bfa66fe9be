// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/LastingLink.h"

#include <QObject>

#include <optional>

namespace Tarnwick {

/// Whether the session has a tray that shows icons which are announced on the bus
/// (StatusNotifierItem). Asked without waiting; followed from then on, and not present while there
/// is no bus. Main thread.
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

private:
    void joined(BusLink &link);
    void ask();
    void settle(bool present);

    LastingLink m_bus;
    std::optional<bool> m_present;
};

} // namespace Tarnwick
