// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/EntryKeys.h"

#include <QByteArray>
#include <QByteArrayView>
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

    /// Which program reads the session's entries: systemd's generator in Plasma, and GLib
    /// elsewhere. The calls below take an entry's keys as read by it.
    [[nodiscard]] EntryReader reader() const;

    /// Whether the keys OnlyShowIn and NotShowIn leave the entry to this desktop, as the Desktop
    /// Entry Specification 1.5 has it. GLib shows one with an empty OnlyShowIn on no desktop.
    [[nodiscard]] bool shows(const EntryKeys &keys) const;

    /// Changes these keys as little as it takes for shows() to be true, and writes them so that all
    /// readers take them for the same: once, without blanks and with no empty or odd names.
    void makeShow(DesktopEntry &entry) const;

    /// Whether a key keeps the session from starting the entry: Hidden, shows(), the conditions and
    /// those that only some sessions read.
    ///
    /// A condition is the key AutostartCondition with the session managers of the GNOME family,
    /// Cinnamon and MATE: "if-exists FILE" and "unless-exists FILE" in the configuration folder. As
    /// no other condition can be decided here (a key of GSettings, the kind of the session, those
    /// of Plasma, which are programs), an entry with one counts as switched off: "on" is a promise.
    /// systemd's generator ignores a condition whose program is not installed.
    [[nodiscard]] bool isSwitchedOff(const EntryKeys &keys) const;

    /// Changes these keys so that the session starts @p entry, and that no key that stands several
    /// times is read in two ways. Of those that the session does not read only
    /// X-GNOME-Autostart-enabled changes.
    void switchOn(DesktopEntry &entry) const;

    /// Whether the session reads the key X-GNOME-Autostart-enabled: the session managers of GNOME,
    /// which Unity, Budgie and Pantheon use as well, and of Cinnamon do. Those of Plasma, Xfce,
    /// MATE, LXQt and LXDE, the generator of systemd and dex(1) do not.
    [[nodiscard]] bool readsAutostartEnabled() const;

private:
    [[nodiscard]] QList<QByteArrayView> conditions() const;

    QList<QByteArray> m_names;
};

} // namespace Tarnwick
