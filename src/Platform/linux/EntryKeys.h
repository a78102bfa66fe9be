// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <cstdint>
#include <optional>
#include <utility>

namespace Tarnwick {

/// Which program reads the autostart entries of a session. Each has rules of its own.
enum class EntryReader : std::uint8_t {
    GLib,    ///< GDesktopAppInfo, which most sessions use
    Systemd, ///< systemd-xdg-autostart-generator(8)
};

/// The keys of a desktop entry's group "Desktop Entry" as one reader takes them. Where that group
/// stands several times, it is one group. Of several values of a key GLib takes the last; systemd
/// does so for truth values only, and takes the first of others. GLib keeps the blanks at the end
/// of a value. systemd also begins comments with ';', ignores lines without '=' and whatever
/// precedes the group, and joins a line that ends in a backslash with the next one. Any thread.
class EntryKeys
{
public:
    /// Nothing where the reader refuses the whole @p text, which then starts nothing: GLib for one
    /// line that is neither a comment nor a group nor a key; systemd for one that is not as
    /// isSystemdText() has it, for a truth value that is none, and for an unknown escape sequence
    /// in a key that it reads.
    [[nodiscard]] static std::optional<EntryKeys> read(const QByteArray &text, EntryReader reader);

    [[nodiscard]] EntryReader reader() const { return m_reader; }

    [[nodiscard]] bool contains(QByteArrayView key) const;

    /// The value of @p key, unescaped. Absent without the key, where it has an unknown escape
    /// sequence (GLib 2.84; 2.74 keeps that), and where GLib finds no UTF-8 in it.
    [[nodiscard]] std::optional<QByteArray> string(QByteArrayView key) const;

    /// The words of @p key, unescaped, as they are between the semicolons. Absent without the key,
    /// where the value has an unknown escape sequence and where GLib finds no UTF-8 in it; also,
    /// for systemd only, where there are no words.
    [[nodiscard]] std::optional<QList<QByteArray>> list(QByteArrayView key) const;

    /// Whether the reader takes the value of @p key for yes.
    [[nodiscard]] bool isTrue(QByteArrayView key) const;

    /// Whether @p text is UTF-8 without Unicode's noncharacters, which systemd's parsers refuse
    /// together with the whole file that has them.
    [[nodiscard]] static bool isSystemdText(const QByteArray &text);

private:
    explicit EntryKeys(EntryReader reader);
    [[nodiscard]] bool readByGLib(const QByteArray &text);
    [[nodiscard]] bool readBySystemd(const QByteArray &text);
    [[nodiscard]] bool areTakenBySystemd() const;
    [[nodiscard]] const QByteArray *first(QByteArrayView key) const;
    [[nodiscard]] const QByteArray *last(QByteArrayView key) const;

    EntryReader m_reader;
    QList<std::pair<QByteArray, QByteArray>> m_values; ///< keys and escaped values, as they stand
};

} // namespace Tarnwick
