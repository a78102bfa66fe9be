// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TerminalText.h"
#include "Shared/Utf8.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <string>

using namespace Tarnwick;

namespace {

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

/// All code points of a valid text, one after the other.
std::string rewritten(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        Utf8::append(result, Utf8::takeCodePoint(text));
    }
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text = textOf(data, size);
    const std::string valid = Utf8::sanitized(text);
    require(Utf8::isValid(valid));
    require(Utf8::isValid(text) == (valid == text));
    require(rewritten(valid) == valid);

    const std::string printable = TerminalText::printable(text);
    require(Utf8::isValid(printable));
    require(std::none_of(printable.begin(), printable.end(), isControl));
    require(TerminalText::printable(printable) == printable);

    const std::size_t width = TerminalText::width(printable);
    for (const std::size_t columns :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, width / 2, width}) {
        const std::string cut = TerminalText::cut(printable, columns);
        require(Utf8::isValid(cut));
        require(TerminalText::width(cut) <= columns);
    }
    require(TerminalText::cut(printable, width) == printable || width == 0);
    return 0;
}
