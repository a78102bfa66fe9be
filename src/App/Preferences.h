// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <optional>

class QSettings;
class QVariant;

namespace Tarnwick {

/// The user's preferences as they are kept between runs. A value that is missing, damaged or of
/// another type reads as its default; a store that cannot be written keeps what is written until
/// the program ends. What is set is read back at once, and stored when the call returns. Main
/// thread.
class Preferences
{
public:
    // The period of scans that is allowed, in seconds.
    static constexpr double shortestPollInterval = 2.0;
    static constexpr double longestPollInterval = 60.0;

    /// @p store outlives the preferences.
    explicit Preferences(QSettings &store);

    /// Those of the program, made with the first call: the store of its name, the system's own.
    [[nodiscard]] static Preferences &shared();

    /// Whether the listeners of the system are shown from the start; false by default.
    [[nodiscard]] bool showSystemPortsByDefault() const;
    /// Whether it could be stored.
    bool setShowSystemPortsByDefault(bool show);

    /// The period of scans in seconds, when one is stored that is allowed.
    [[nodiscard]] std::optional<double> pollInterval() const;
    /// Whether it could be stored.
    bool setPollInterval(double seconds);

    /// Whether the first-run bubble has had its chance; false by default.
    [[nodiscard]] bool hasSeenMenuBarOnboarding() const;
    void setHasSeenMenuBarOnboarding();

    /// Whether the user wants the application to stay where it is; false by default.
    [[nodiscard]] bool declinedMoveToApplications() const;
    void setDeclinedMoveToApplications();

    /// Where all of this is stored.
    [[nodiscard]] QString file() const;

private:
    bool keep(const QString &key, const QVariant &value);

    QSettings &m_store;
};

} // namespace Tarnwick
