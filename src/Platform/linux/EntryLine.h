// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <cstdint>

namespace Tarnwick {

/// One line of a desktop entry as GLib's parser of key files takes it, which refuses a whole file
/// for one invalid line. Any thread.
struct EntryLine
{
    enum class Kind : std::uint8_t {
        Nothing, ///< blank, or a comment
        Group,   ///< opens the group `name`
        Key,     ///< gives the key `name` a value
        Invalid,
    };

    /// The group that counts.
    static constexpr const char *mainGroup = "Desktop Entry";

    Kind kind = Kind::Nothing;
    QByteArray name{};
    QByteArray value{}; ///< escaped, without the blanks before it and with those after it

    /// @p line without its newline; a carriage return at its end belongs to that.
    [[nodiscard]] static EntryLine parse(const QByteArray &line);

    /// Whether this opens the group that counts.
    [[nodiscard]] bool isHeader() const { return kind == Kind::Group && name == mainGroup; }
};

} // namespace Tarnwick
