// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/JsonText.h"

#include <array>

namespace Tarnwick {

namespace {

constexpr std::size_t quotationMarks = 2;
constexpr std::string_view ellipsis = "\xe2\x80\xa6"; // U+2026

/// The size of each byte of a text in its string.
constexpr std::array<unsigned char, 256> sizes = [] {
    std::array<unsigned char, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = byte < 0x20 ? 6 : 1;
    }
    for (const char escapedInTwo : {'"', '\\', '\b', '\f', '\n', '\r', '\t'}) {
        table[static_cast<unsigned char>(escapedInTwo)] = 2;
    }
    return table;
}();

constexpr std::size_t sizeOf(char byte)
{
    return sizes[static_cast<unsigned char>(byte)];
}

/// Whether @p byte is any but the first of a code point.
constexpr bool isTrailing(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

} // namespace

std::size_t JsonText::size(std::string_view text) noexcept
{
    std::size_t size = quotationMarks;
    for (const char byte : text) {
        size += sizeOf(byte);
    }
    return size;
}

std::string JsonText::shortened(std::string_view text, std::size_t room)
{
    if (room >= quotationMarks + text.size() && size(text) <= room) {
        return std::string(text);
    }
    if (room < quotationMarks + ellipsis.size()) {
        return {};
    }
    std::size_t left = room - quotationMarks - ellipsis.size();
    std::size_t end = 0;
    while (end < text.size() && sizeOf(text[end]) <= left) {
        left -= sizeOf(text[end]);
        ++end;
    }
    while (end > 0 && end < text.size() && isTrailing(text[end])) {
        --end;
    }
    std::string beginning(text.substr(0, end));
    return beginning += ellipsis;
}

} // namespace Tarnwick
