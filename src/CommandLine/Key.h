// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Tarnwick {

/// A key that was pressed on a terminal.
struct Key
{
    enum class Code {
        Character, ///< `text` is the character
        Control,   ///< with the control key; `text` is the capital letter
        Enter,
        Tab,
        Escape,
        Backspace,
        Delete,
        Up,
        Down,
        Left,
        Right,
        PageUp,
        PageDown,
        Home,
        End,
        Help,  ///< F1
        Other, ///< any that has no meaning here
    };

    Code code = Code::Other;
    std::string text{}; ///< UTF-8

    /// Whether it is the character @p character.
    [[nodiscard]] bool is(char character) const
    {
        return code == Code::Character && text.size() == 1 && text.front() == character;
    }

    friend bool operator==(const Key &, const Key &) = default;
};

} // namespace Tarnwick
