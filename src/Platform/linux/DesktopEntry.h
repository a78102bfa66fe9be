// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace Tarnwick {

/// The text of a desktop entry (freedesktop.org's Desktop Entry Specification 1.5), to change keys
/// of its group "Desktop Entry"; where that stands several times, it is one group, as for desktops.
/// A change leaves every other line as it was: comments, unknown keys, translations, other groups.
/// EntryKeys knows what the keys say.
class DesktopEntry
{
public:
    /// One without keys.
    DesktopEntry();

    /// Nothing when @p text has no such group, or a NUL. Lines that not every desktop takes for
    /// what they are become comments: those that GLib refuses, such as comments that begin with a
    /// semicolon, those before the group, and those that systemd would join with the next one. The
    /// encoding of lines does not matter.
    [[nodiscard]] static std::optional<DesktopEntry> parse(const QByteArray &text);

    /// Whether there is anything in the text besides these keys.
    [[nodiscard]] bool hasMoreThan(const std::vector<QByteArrayView> &keys) const;

    /// Gives @p key this one value, which may hold any character but NUL.
    void set(QByteArrayView key, const QByteArray &value);
    /// Gives @p key these words, which may hold any character but NUL.
    void setList(QByteArrayView key, const QList<QByteArray> &words);
    void remove(QByteArrayView key);

    [[nodiscard]] QByteArray text() const;

    /// @p argument as one word of the value of the key "Exec".
    [[nodiscard]] static QByteArray quotedArgument(const QByteArray &argument);

    /// The program in @p command, a value of the key "Exec": its first word without the quoting of
    /// a shell, which is what desktops take it for. Empty where there is none.
    [[nodiscard]] static QByteArray program(const QByteArray &command);

private:
    using Lines = std::vector<QByteArray>;

    explicit DesktopEntry(Lines lines);
    [[nodiscard]] std::size_t endOfGroup() const;
    [[nodiscard]] std::vector<std::size_t> linesOf(QByteArrayView key) const;
    void setEscaped(QByteArrayView key, const QByteArray &value);
    void erase(std::span<const std::size_t> places);

    Lines m_lines;
    std::size_t m_header = 0; ///< the line that opens the group first
};

} // namespace Tarnwick
