// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// Texts made fit for one line of a terminal. Process names and arguments come from whoever started
/// the process, so that whatever moves the cursor, hides or reorders text is made visible instead.
/// All texts are UTF-8 and so is what a terminal is sent, whatever the locale.
class TerminalText
{
public:
    TerminalText() = delete;

    /// @p text with control characters in caret notation ("^[", "^J", "^?") and every other code
    /// point that does not print, invisible and bidirectional ones among them, as U+FFFD. Variation
    /// selectors are left out: terminals disagree about the width that they ask for.
    [[nodiscard]] static std::string printable(std::string_view text);

    /// The columns that @p text takes; it must be printable.
    [[nodiscard]] static std::size_t width(std::string_view text);

    /// @p text, which must be printable, in at most @p columns: when it takes more, its beginning
    /// and "…".
    [[nodiscard]] static std::string cut(std::string_view text, std::size_t columns);

    /// @p text, which must be printable, in lines of at most @p columns, which must be at least 2,
    /// broken at blanks where possible; one empty line for an empty text.
    [[nodiscard]] static std::vector<std::string> wrapped(std::string_view text,
                                                          std::size_t columns);
};

} // namespace Tarnwick
