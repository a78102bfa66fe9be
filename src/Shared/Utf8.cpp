// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Utf8.h"

#include "Models/Precondition.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Tarnwick {

namespace {

/// What the first bytes of a text are: a well-formed sequence, or the maximal subpart of an
/// ill-formed one.
struct Sequence
{
    std::size_t length;
    bool wellFormed;
};

/// What may follow a lead byte (the Unicode Standard, table 3-7). All but the first trailing byte
/// range from 0x80 to 0xBF.
struct Lead
{
    std::size_t length; ///< of the whole sequence; 0 when the byte cannot begin one
    std::uint8_t secondFirst;
    std::uint8_t secondLast;
};

constexpr Lead leadOf(std::uint8_t byte)
{
    if (byte < 0x80) {
        return {1, 0, 0};
    }
    if (byte < 0xc2 || byte > 0xf4) {
        return {0, 0, 0};
    }
    if (byte < 0xe0) {
        return {2, 0x80, 0xbf};
    }
    switch (byte) {
    case 0xe0:
        return {3, 0xa0, 0xbf}; // no overlong forms
    case 0xed:
        return {3, 0x80, 0x9f}; // no surrogates
    case 0xf0:
        return {4, 0x90, 0xbf}; // no overlong forms
    case 0xf4:
        return {4, 0x80, 0x8f}; // nothing above U+10FFFF
    default:
        return {byte < 0xf0 ? std::size_t{3} : std::size_t{4}, 0x80, 0xbf};
    }
}

constexpr std::uint8_t byteAt(std::string_view text, std::size_t index)
{
    return static_cast<std::uint8_t>(text[index]);
}

/// The sequence at the start of @p text, which is not empty.
constexpr Sequence firstSequence(std::string_view text)
{
    const Lead lead = leadOf(byteAt(text, 0));
    if (lead.length <= 1) {
        return {1, lead.length == 1};
    }
    const std::size_t end = std::min(lead.length, text.size());
    std::size_t length = 1;
    std::uint8_t first = lead.secondFirst;
    std::uint8_t last = lead.secondLast;
    while (length < end && byteAt(text, length) >= first && byteAt(text, length) <= last) {
        ++length;
        first = 0x80;
        last = 0xbf;
    }
    return {length, length == lead.length};
}

/// How many bytes at the start of @p text are ASCII for sure: whole words, for speed.
std::size_t asciiWords(std::string_view text)
{
    constexpr std::uint64_t highBits = 0x8080'8080'8080'8080U;
    std::size_t length = 0;
    std::uint64_t word = 0;
    while (text.size() - length >= sizeof(word)) {
        std::memcpy(&word, text.data() + length, sizeof(word));
        if ((word & highBits) != 0) {
            break;
        }
        length += sizeof(word);
    }
    return length;
}

/// The length of the valid part at the start of @p text.
std::size_t validLength(std::string_view text)
{
    std::size_t length = 0;
    while (length < text.size()) {
        length += asciiWords(text.substr(length));
        if (length == text.size()) {
            break;
        }
        const Sequence sequence = firstSequence(text.substr(length));
        if (!sequence.wellFormed) {
            break;
        }
        length += sequence.length;
    }
    return length;
}

} // namespace

bool Utf8::isValid(std::string_view text) noexcept
{
    return validLength(text) == text.size();
}

std::string Utf8::sanitized(std::string_view text)
{
    constexpr std::string_view replacement = "\xef\xbf\xbd"; // U+FFFD
    std::string result;
    result.reserve(text.size());
    while (true) {
        const std::size_t valid = validLength(text);
        result += text.substr(0, valid);
        text.remove_prefix(valid);
        if (text.empty()) {
            return result;
        }
        result += replacement;
        text.remove_prefix(firstSequence(text).length);
    }
}

char32_t Utf8::takeCodePoint(std::string_view &text) noexcept
{
    const Sequence sequence = text.empty() ? Sequence{0, false} : firstSequence(text);
    if (!sequence.wellFormed) {
        preconditionFailure("a code point can be taken from valid UTF-8 only");
    }
    // The lead byte of a longer sequence gives what its marker bits leave: 5, 4 or 3 bits.
    const unsigned leadBits = sequence.length == 1 ? 0x7fU : 0xffU >> (sequence.length + 1);
    char32_t codePoint = byteAt(text, 0) & leadBits;
    for (std::size_t i = 1; i < sequence.length; ++i) {
        codePoint = (codePoint << 6U) | (byteAt(text, i) & 0x3fU);
    }
    text.remove_prefix(sequence.length);
    return codePoint;
}

void Utf8::append(std::string &text, char32_t codePoint)
{
    if (codePoint > 0x10ffff || (codePoint >= 0xd800 && codePoint <= 0xdfff)) {
        preconditionFailure("only a Unicode scalar value can be written as UTF-8");
    }
    const auto trailing = [codePoint](unsigned shift) {
        return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3fU));
    };
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += {static_cast<char>(0xc0U | (codePoint >> 6U)), trailing(0)};
    } else if (codePoint < 0x10000) {
        text += {static_cast<char>(0xe0U | (codePoint >> 12U)), trailing(6), trailing(0)};
    } else {
        text +=
            {static_cast<char>(0xf0U | (codePoint >> 18U)), trailing(12), trailing(6), trailing(0)};
    }
}

} // namespace Tarnwick
