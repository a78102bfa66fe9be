// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tarnwick {

/// How much room a text takes as a JSON string of the wire format (RFC 8259, section 7): a
/// quotation mark, a backslash and five control characters become two bytes, the other control
/// characters below U+0020 six, and all else stays what it is in UTF-8. Sizes are bytes and count
/// the quotation marks around the string.
class JsonText
{
public:
    JsonText() = delete;

    /// The size of the string for @p text.
    [[nodiscard]] static std::size_t size(std::string_view text) noexcept;

    /// The beginning of @p text, valid UTF-8, whose string is no larger than @p room, followed by
    /// an ellipsis where something is missing; @p text itself where that fits. Cuts between code
    /// points only. Empty where not even the ellipsis fits.
    [[nodiscard]] static std::string shortened(std::string_view text, std::size_t room);
};

} // namespace Tarnwick
