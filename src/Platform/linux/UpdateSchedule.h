// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDateTime>
#include <QSettings>

#include <filesystem>
#include <functional>

namespace Tarnwick {

/// When to look for updates by itself: once a day, unless the user does not want it. Kept in a file
/// of its own; where that cannot be read or written, until the end of the program, which is logged
/// once. Main thread.
class UpdateSchedule
{
public:
    using Clock = std::function<QDateTime()>;

    UpdateSchedule(const std::filesystem::path &file, Clock now);

    /// On until the user has chosen.
    [[nodiscard]] bool isAutomatic() const;
    void setAutomatic(bool automatic);

    /// Whether an automatic check shall be made now. A last check in the future, as after the clock
    /// was set back, does not put it off.
    [[nodiscard]] bool isDue() const;

    /// Whether the first check of a run shall be made at once: also when the last check has found
    /// an update, which only a check makes known to this run.
    [[nodiscard]] bool isDueAtStart() const;

    /// A check has succeeded just now, and has found @p availableVersion, empty for none. One that
    /// failed is not the day's.
    void recordCheck(const QString &availableVersion);

    /// Whether the user has seen that @p version is available.
    [[nodiscard]] bool isSeen(const QString &version) const;
    void recordSeen(const QString &version);

private:
    void store();

    QSettings m_store;
    Clock m_now;
    bool m_isFailureLogged = false;
};

} // namespace Tarnwick
