// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/CurrentDesktop.h"

#include "Platform/linux/DesktopEntry.h"

#include <QByteArrayView>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <optional>

namespace Tarnwick {

namespace {

constexpr QByteArrayView onlyShowInKey = "OnlyShowIn";
constexpr QByteArrayView notShowInKey = "NotShowIn";
constexpr QByteArrayView hiddenKey = "Hidden";
constexpr QByteArrayView enabledKey = "X-GNOME-Autostart-enabled";
// Only systemd's generator reads these; a phase leaves the entry to GNOME, and an empty one does so
// in systemd 252 and no longer in 257.
constexpr QByteArrayView skipKey = "X-systemd-skip";
constexpr QByteArrayView phaseKey = "X-GNOME-Autostart-Phase";

constexpr std::array<QByteArrayView, 6> readersOfEnabled{"GNOME",    "Unity",      "Budgie",
                                                         "Pantheon", "X-Cinnamon", "Cinnamon"};

/// What systemd takes for no, in any case of its letters.
constexpr std::array<QByteArrayView, 6> systemdNo{"0", "no", "n", "false", "f", "off"};

/// Whether systemd reads @p key as yes, or cannot tell, for which it starts nothing either.
bool isNotClearlyOff(const DesktopEntry &entry, QByteArrayView key)
{
    const std::optional<QByteArray> value = entry.value(key);
    return value &&
           std::find(systemdNo.begin(), systemdNo.end(), value->toLower()) == systemdNo.end();
}

QList<QByteArray> split(const QByteArray &text, char separator)
{
    QList<QByteArray> words;
    for (const QByteArray &word : text.split(separator)) {
        if (!word.trimmed().isEmpty()) {
            words.push_back(word.trimmed());
        }
    }
    return words;
}

QList<QByteArray> listOf(const DesktopEntry &entry, QByteArrayView key)
{
    return split(entry.value(key).value_or(QByteArray()), ';');
}

void setList(DesktopEntry &entry, QByteArrayView key, const QList<QByteArray> &words)
{
    if (words.isEmpty()) {
        entry.remove(key);
    } else {
        entry.set(key, words.join(';') + ';');
    }
}

} // namespace

CurrentDesktop::CurrentDesktop(const QByteArray &names)
    : m_names(split(names, ':'))
{
}

CurrentDesktop CurrentDesktop::ofSession()
{
    return CurrentDesktop(qgetenv("XDG_CURRENT_DESKTOP"));
}

bool CurrentDesktop::shows(const DesktopEntry &entry) const
{
    const QList<QByteArray> only = listOf(entry, onlyShowInKey);
    const QList<QByteArray> never = listOf(entry, notShowInKey);
    for (const QByteArray &name : m_names) {
        if (only.contains(name)) {
            return true;
        }
        if (never.contains(name)) {
            return false;
        }
    }
    return only.isEmpty();
}

void CurrentDesktop::makeShow(DesktopEntry &entry) const
{
    if (shows(entry)) {
        return;
    }
    QList<QByteArray> never = listOf(entry, notShowInKey);
    const qsizetype count = never.size();
    never.removeIf([this](const QByteArray &name) { return m_names.contains(name); });
    if (never.size() != count) {
        setList(entry, notShowInKey, never);
    }
    if (shows(entry)) {
        return;
    }
    QList<QByteArray> only = m_names.isEmpty() ? m_names : listOf(entry, onlyShowInKey);
    if (!m_names.isEmpty()) {
        only.push_back(m_names.front());
    }
    setList(entry, onlyShowInKey, only);
}

bool CurrentDesktop::isSwitchedOff(const DesktopEntry &entry) const
{
    if (!shows(entry)) {
        return true;
    }
    if (usesSystemdGenerator()) {
        return isNotClearlyOff(entry, hiddenKey) || isNotClearlyOff(entry, skipKey) ||
               entry.value(phaseKey);
    }
    return entry.is(hiddenKey, true) ||
           (readsAutostartEnabled() && entry.value(enabledKey) && !entry.is(enabledKey, true));
}

void CurrentDesktop::switchOn(DesktopEntry &entry) const
{
    entry.remove(hiddenKey);
    entry.set(enabledKey, "true");
    if (usesSystemdGenerator()) {
        entry.remove(skipKey);
        entry.remove(phaseKey);
    }
    makeShow(entry);
}

bool CurrentDesktop::usesSystemdGenerator() const
{
    return m_names.contains("KDE");
}

bool CurrentDesktop::readsAutostartEnabled() const
{
    return std::any_of(m_names.begin(), m_names.end(), [](const QByteArray &name) {
        return std::find(readersOfEnabled.begin(), readersOfEnabled.end(), name) !=
               readersOfEnabled.end();
    });
}

} // namespace Tarnwick
