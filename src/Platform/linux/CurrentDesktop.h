// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>

namespace Tarnwick {

class DesktopEntry;

/// The desktop of a session by its names, such as "ubuntu" and "GNOME", and which autostart entries
/// it starts because of them.
class CurrentDesktop
{
public:
    /// @p names are separated by colons, as in `$XDG_CURRENT_DESKTOP`; there may be none.
    explicit CurrentDesktop(const QByteArray &names);

    /// That of this process.
    [[nodiscard]] static CurrentDesktop ofSession();

    /// Whether the keys OnlyShowIn and NotShowIn leave @p entry to this desktop, as the Desktop
    /// Entry Specification 1.5 has it.
    [[nodiscard]] bool shows(const DesktopEntry &entry) const;

    /// Changes these keys as little as it takes for shows() to be true.
    void makeShow(DesktopEntry &entry) const;

    /// Whether a key of @p entry keeps the session from starting it: Hidden, shows() and those that
    /// only some sessions read. They are read as the session does: GLib takes nothing but "true"
    /// and "1" for yes, and systemd's generator starts nothing with a value that is not a clear no.
    [[nodiscard]] bool isSwitchedOff(const DesktopEntry &entry) const;

    /// Changes these keys so that the session starts @p entry. Of those that it does not read only
    /// X-GNOME-Autostart-enabled changes.
    void switchOn(DesktopEntry &entry) const;

    /// Whether systemd-xdg-autostart-generator(8) starts the session's entries, as that of Plasma.
    [[nodiscard]] bool usesSystemdGenerator() const;

    /// Whether the session reads the key X-GNOME-Autostart-enabled: the session managers of GNOME,
    /// which Unity, Budgie and Pantheon use as well, and of Cinnamon do. Those of Plasma, Xfce,
    /// MATE, LXQt and LXDE, the generator of systemd and dex(1) do not.
    [[nodiscard]] bool readsAutostartEnabled() const;

private:
    QList<QByteArray> m_names;
};

} // namespace Tarnwick
