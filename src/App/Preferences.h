// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>

class QSettings;

namespace Tarnwick {

/// The user's preferences as they are kept between runs. A value that is missing, damaged or of
/// another type reads as its default; a store that cannot be written keeps what is written until
/// the program ends. Main thread.
class Preferences
{
public:
    /// @p store outlives the preferences.
    explicit Preferences(QSettings &store);

    /// Whether the listeners of the system are shown from the start; false by default.
    [[nodiscard]] bool showSystemPortsByDefault() const;

    /// The period of scans in seconds, when one is stored that is allowed: 2 to 60.
    [[nodiscard]] std::optional<double> pollInterval() const;

    /// Whether the first-run bubble has had its chance; false by default.
    [[nodiscard]] bool hasSeenMenuBarOnboarding() const;
    /// Stored when the call returns.
    void setHasSeenMenuBarOnboarding();

private:
    QSettings &m_store;
};

} // namespace Tarnwick
