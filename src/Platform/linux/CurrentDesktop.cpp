// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/CurrentDesktop.h"

#include "Platform/linux/DesktopEntry.h"
#include "Platform/linux/UserFolders.h"

#include <QByteArrayView>
#include <QStandardPaths>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace Tarnwick {

namespace {

constexpr QByteArrayView onlyShowInKey = "OnlyShowIn";
constexpr QByteArrayView notShowInKey = "NotShowIn";
constexpr QByteArrayView hiddenKey = "Hidden";
constexpr QByteArrayView enabledKey = "X-GNOME-Autostart-enabled";
// Only systemd's generator reads these. That of systemd 252 starts no entry with a phase, and that
// of 257 does outside GNOME: such an entry counts as switched off.
constexpr QByteArrayView skipKey = "X-systemd-skip";
constexpr QByteArrayView phaseKey = "X-GNOME-Autostart-Phase";

constexpr std::array<QByteArrayView, 6> readersOfEnabled{"GNOME",    "Unity",      "Budgie",
                                                         "Pantheon", "X-Cinnamon", "Cinnamon"};

constexpr QByteArrayView conditionKey = "AutostartCondition";

/// A condition, and the program by which systemd's generator has it checked.
struct CheckedCondition
{
    QByteArrayView key;
    const char *program;
};
constexpr std::array<CheckedCondition, 2> systemdConditions{
    CheckedCondition{.key = conditionKey, .program = "gnome-systemd-autostart-condition"},
    CheckedCondition{.key = "X-KDE-autostart-condition", .program = "kde-systemd-start-condition"}};

/// Whether @p condition, a value of AutostartCondition, is known to be true. The first word may be
/// shortened, which is how the session managers compare it.
bool isTrue(const QByteArray &condition)
{
    constexpr QByteArrayView ifExists = "if-exists";
    constexpr QByteArrayView unlessExists = "unless-exists";
    const qsizetype end = condition.indexOf(' ');
    const QByteArray kind = condition.left(end < 0 ? condition.size() : end).toLower();
    QByteArray file = condition.mid(kind.size());
    while (file.startsWith(' ')) {
        file.remove(0, 1);
    }
    std::error_code failed;
    const bool exists = std::filesystem::exists(
        UserFolders::configuration().string() + '/' + file.toStdString(), failed);
    return ifExists.startsWith(kind) ? exists : unlessExists.startsWith(kind) && !exists;
}

/// Whether the condition @p key is known not to keep the session from starting the entry.
bool isMet(const EntryKeys &keys, QByteArrayView key)
{
    const QByteArray condition = keys.string(key).value_or(QByteArray());
    return condition.isEmpty() || (keys.reader() == EntryReader::GLib && isTrue(condition));
}

/// What @p entry says to @p reader; nothing where that does not read it.
std::optional<EntryKeys> keysOf(const DesktopEntry &entry, EntryReader reader)
{
    return EntryKeys::read(entry.text(), reader);
}

/// Whether the readers of @p entry take the value of @p key for different ones.
bool isAmbiguous(const DesktopEntry &entry, QByteArrayView key)
{
    const std::optional<EntryKeys> byGlib = keysOf(entry, EntryReader::GLib);
    const std::optional<EntryKeys> bySystemd = keysOf(entry, EntryReader::Systemd);
    return byGlib && bySystemd && byGlib->string(key) != bySystemd->string(key);
}

/// The desktops in the value of @p key. dex(1) does not know that a semicolon can be escaped, and
/// no desktop has one in its name.
QList<QByteArray> namesIn(const EntryKeys &keys, QByteArrayView key)
{
    QList<QByteArray> names = keys.list(key).value_or(QList<QByteArray>());
    names.removeIf([](const QByteArray &name) { return name.contains(';'); });
    return names;
}

void setList(DesktopEntry &entry, QByteArrayView key, const QList<QByteArray> &words)
{
    if (words.isEmpty()) {
        entry.remove(key);
    } else {
        entry.setList(key, words);
    }
}

} // namespace

CurrentDesktop::CurrentDesktop(const QByteArray &names)
    : m_names(names.split(':'))
{
    m_names.removeAll(QByteArray());
}

CurrentDesktop CurrentDesktop::ofSession()
{
    return CurrentDesktop(qgetenv("XDG_CURRENT_DESKTOP"));
}

EntryReader CurrentDesktop::reader() const
{
    return m_names.contains("KDE") ? EntryReader::Systemd : EntryReader::GLib;
}

bool CurrentDesktop::shows(const EntryKeys &keys) const
{
    const std::optional<QList<QByteArray>> only = keys.list(onlyShowInKey);
    const std::optional<QList<QByteArray>> never = keys.list(notShowInKey);
    for (const QByteArray &name : m_names) {
        if (only && only->contains(name)) {
            return true;
        }
        if (never && never->contains(name)) {
            return false;
        }
    }
    return !only;
}

void CurrentDesktop::makeShow(DesktopEntry &entry) const
{
    const std::optional<EntryKeys> keys = keysOf(entry, reader());
    if (!keys) {
        return;
    }
    QList<QByteArray> only = namesIn(*keys, onlyShowInKey);
    QList<QByteArray> never = namesIn(*keys, notShowInKey);
    if (!shows(*keys)) {
        const auto isOurs = [this](const QByteArray &name) { return m_names.contains(name); };
        never.removeIf(isOurs);
        if (m_names.isEmpty()) {
            only.clear();
        } else if (!only.isEmpty() && std::none_of(only.begin(), only.end(), isOurs)) {
            only.push_back(m_names.front());
        }
    }
    setList(entry, onlyShowInKey, only);
    setList(entry, notShowInKey, never);
}

bool CurrentDesktop::isSwitchedOff(const EntryKeys &keys) const
{
    const QList<QByteArrayView> read = conditions();
    if (!shows(keys) || keys.isTrue(hiddenKey) ||
        !std::all_of(read.begin(), read.end(),
                     [&keys](QByteArrayView key) { return isMet(keys, key); })) {
        return true;
    }
    if (reader() == EntryReader::Systemd) {
        return keys.isTrue(skipKey) || keys.contains(phaseKey);
    }
    return readsAutostartEnabled() && keys.contains(enabledKey) && !keys.isTrue(enabledKey);
}

QList<QByteArrayView> CurrentDesktop::conditions() const
{
    QList<QByteArrayView> keys;
    if (reader() == EntryReader::Systemd) {
        for (const CheckedCondition &one : systemdConditions) {
            if (!QStandardPaths::findExecutable(one.program).isEmpty()) {
                keys.push_back(one.key);
            }
        }
    } else if (readsAutostartEnabled() || m_names.contains("MATE")) {
        keys.push_back(conditionKey);
    }
    return keys;
}

void CurrentDesktop::switchOn(DesktopEntry &entry) const
{
    entry.remove(hiddenKey);
    entry.set(enabledKey, "true");
    if (reader() == EntryReader::Systemd) {
        entry.remove(skipKey);
        entry.remove(phaseKey);
    }
    for (const QByteArrayView key : conditions()) {
        const std::optional<EntryKeys> keys = keysOf(entry, reader());
        if (keys && !isMet(*keys, key)) {
            entry.remove(key);
        } else if (keys && keys->contains(key) && isAmbiguous(entry, key)) {
            entry.set(key, keys->string(key).value_or(QByteArray()));
        }
    }
    makeShow(entry);
}

bool CurrentDesktop::readsAutostartEnabled() const
{
    return std::any_of(m_names.begin(), m_names.end(), [](const QByteArray &name) {
        return std::find(readersOfEnabled.begin(), readersOfEnabled.end(), name) !=
               readersOfEnabled.end();
    });
}

} // namespace Tarnwick
