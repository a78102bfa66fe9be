// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Tarnwick {

/// UTF-8 as RFC 3629 defines it: no overlong forms, no surrogates, nothing above U+10FFFF.
class Utf8
{
public:
    Utf8() = delete;

    [[nodiscard]] static bool isValid(std::string_view text) noexcept;

    /// @p text with each ill-formed sequence replaced by U+FFFD, one for each maximal subpart, as
    /// the Unicode Standard recommends (chapter 3, "U+FFFD Substitution of Maximal Subparts").
    [[nodiscard]] static std::string sanitized(std::string_view text);

    /// The first code point of @p text, which must be valid and not empty; takes it off the front.
    [[nodiscard]] static char32_t takeCodePoint(std::string_view &text) noexcept;

    /// Appends @p codePoint (not a surrogate, at most U+10FFFF) to @p text.
    static void append(std::string &text, char32_t codePoint);
};

} // namespace Tarnwick
