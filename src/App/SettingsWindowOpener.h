// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>

namespace Tarnwick {

/// The one way to the settings window, for all who offer it. The window itself belongs to whoever
/// said how it is opened: it knows views, which the callers need not. Main thread.
class SettingsWindowOpener
{
public:
    using Open = std::function<void()>;

    SettingsWindowOpener() = default;
    SettingsWindowOpener(const SettingsWindowOpener &) = delete;
    SettingsWindowOpener &operator=(const SettingsWindowOpener &) = delete;
    ~SettingsWindowOpener() = default;

    /// The one opener of the program, made with the first call.
    [[nodiscard]] static SettingsWindowOpener &shared();

    /// Says what show() does: make the window if there is none yet, and bring it to the front.
    void setOpen(Open open);

    /// Opens the settings window, or brings back the one that there is. Nothing before setOpen().
    void show() const;

private:
    Open m_open;
};

} // namespace Tarnwick
