// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace Tarnwick {

/// The text of a desktop entry (freedesktop.org's Desktop Entry Specification 1.5) and what its
/// group "Desktop Entry" says; where that stands several times, it is one group, as for desktops. A
/// change leaves every other line as it was: comments, unknown keys, translations, other groups.
class DesktopEntry
{
public:
    /// One without keys.
    DesktopEntry();

    /// Nothing when @p text has not the lines of a desktop entry. Like the desktops it minds
    /// neither blanks before a line nor, in values that nobody asks for, another encoding than
    /// UTF-8.
    [[nodiscard]] static std::optional<DesktopEntry> parse(const QByteArray &text);

    /// The value of @p key, unescaped; of several the last, which counts. Absent without that key,
    /// and where what it has is not UTF-8.
    [[nodiscard]] std::optional<QByteArray> value(QByteArrayView key) const;

    /// Whether @p key is there and has that truth value.
    [[nodiscard]] bool is(QByteArrayView key, bool wanted) const;

    /// Whether there is anything in the text besides these keys.
    [[nodiscard]] bool hasMoreThan(const std::vector<QByteArrayView> &keys) const;

    /// Whether systemd reads the text: every line but comments is as isSystemdText() has it.
    [[nodiscard]] bool isReadBySystemd() const;

    /// Whether @p text is UTF-8 without Unicode's noncharacters, which systemd's parsers refuse
    /// together with the whole file that has them.
    [[nodiscard]] static bool isSystemdText(const QByteArray &text);

    /// Gives @p key this one value, which may hold any character but NUL.
    void set(QByteArrayView key, const QByteArray &value);
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
    void erase(std::span<const std::size_t> places);

    Lines m_lines;
    std::size_t m_header = 0; ///< the line that opens the group first
};

} // namespace Tarnwick
