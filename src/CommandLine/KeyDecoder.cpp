// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/KeyDecoder.h"

#include "Shared/Utf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Tarnwick {

namespace {

using Code = Key::Code;

constexpr char escape = '\x1b';

/// The last character of a sequence that begins with CSI or SS3.
constexpr std::array<std::pair<char, Code>, 9> finals{{{'A', Code::Up},
                                                       {'B', Code::Down},
                                                       {'C', Code::Right},
                                                       {'D', Code::Left},
                                                       {'F', Code::End},
                                                       {'H', Code::Home},
                                                       {'M', Code::Enter}, // of the keypad
                                                       {'P', Code::Help},
                                                       {'I', Code::Tab}}};

/// The first parameter of a sequence that ends with "~".
constexpr std::array<std::pair<std::string_view, Code>, 8> numbers{{{"1", Code::Home},
                                                                    {"3", Code::Delete},
                                                                    {"4", Code::End},
                                                                    {"5", Code::PageUp},
                                                                    {"6", Code::PageDown},
                                                                    {"7", Code::Home},
                                                                    {"8", Code::End},
                                                                    {"11", Code::Help}}};

template<class Table, class Value>
Key keyIn(const Table &table, const Value &value)
{
    const auto *const found = std::find_if(
        table.begin(), table.end(), [&value](const auto &entry) { return entry.first == value; });
    return {.code = found != table.end() ? found->second : Code::Other};
}

bool isFinal(char character)
{
    return character >= '@' && character <= '~';
}

/// The bytes of the UTF-8 sequence that begins with @p lead.
std::size_t sequenceSize(char lead)
{
    const auto byte = static_cast<unsigned char>(lead);
    if (byte >= 0xF0) {
        return 4;
    }
    return byte >= 0xE0 ? 3 : (byte >= 0xC0 ? 2 : 1);
}

} // namespace

std::optional<Key> KeyDecoder::next()
{
    if (m_bytes.empty()) {
        m_isComplete = false;
        return std::nullopt;
    }
    Decoded decoded = this->decoded();
    if (decoded.size == 0 && !m_isComplete) {
        return std::nullopt;
    }
    if (decoded.size == 0) {
        decoded = {.key = {.code = m_bytes.front() == escape ? Code::Escape : Code::Other},
                   .size = 1};
    }
    m_bytes.erase(0, decoded.size);
    m_isComplete = m_isComplete && !m_bytes.empty();
    return decoded.key;
}

KeyDecoder::Decoded KeyDecoder::decoded() const
{
    const char first = m_bytes.front();
    if (first == escape) {
        return decodedSequence();
    }
    switch (first) {
    case '\r':
    case '\n':
        return {.key = {.code = Code::Enter}, .size = 1};
    case '\t':
        return {.key = {.code = Code::Tab}, .size = 1};
    case '\b':
    case '\x7f':
        return {.key = {.code = Code::Backspace}, .size = 1};
    default:
        break;
    }
    if (static_cast<unsigned char>(first) < ' ') {
        const auto letter = static_cast<char>(first | 0x40);
        return {.key = {.code = Code::Control, .text = {letter}}, .size = 1};
    }
    return decodedCharacter();
}

KeyDecoder::Decoded KeyDecoder::decodedSequence() const
{
    constexpr std::size_t introducer = 2;
    if (m_bytes.size() < introducer) {
        return {};
    }
    const char kind = m_bytes[1];
    if (kind != '[' && kind != 'O') {
        // The Escape key, and then another one.
        return {.key = {.code = Code::Escape}, .size = 1};
    }
    // The function keys of the Linux console have a second bracket.
    const bool isConsole = m_bytes.size() > introducer && m_bytes[introducer] == '[';
    const auto begin = m_bytes.begin() + introducer + (isConsole ? 1 : 0);
    const auto end = std::find_if(begin, m_bytes.end(), isFinal);
    if (end == m_bytes.end()) {
        return {};
    }
    const auto size = static_cast<std::size_t>(end - m_bytes.begin()) + 1;
    const std::string_view parameters =
        std::string_view(m_bytes).substr(introducer, size - introducer - 1);
    const bool isNumbered = *end == '~' && kind == '[';
    Key key = isNumbered ? keyIn(numbers, parameters.substr(0, parameters.find(';')))
                         : keyIn(finals, *end);
    if (isConsole && *end == 'A') {
        key = {.code = Code::Help};
    } else if (isConsole || (kind == '[' && (*end == 'M' || *end == 'I' || *end == 'P'))) {
        key = {};
    }
    return {.key = std::move(key), .size = size};
}

KeyDecoder::Decoded KeyDecoder::decodedCharacter() const
{
    const std::size_t size = sequenceSize(m_bytes.front());
    if (m_bytes.size() < size) {
        return {};
    }
    const std::string text = m_bytes.substr(0, size);
    if (!Utf8::isValid(text)) {
        return {.key = {}, .size = 1};
    }
    return {.key = {.code = Code::Character, .text = text}, .size = size};
}

} // namespace Tarnwick
