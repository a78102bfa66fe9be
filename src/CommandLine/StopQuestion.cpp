// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/StopQuestion.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

namespace Tarnwick {

namespace {

bool isYes(std::string_view answer)
{
    constexpr std::string_view blanks = " \t";
    const std::size_t begin = answer.find_first_not_of(blanks);
    if (begin == std::string_view::npos) {
        return false;
    }
    std::string word(answer.substr(begin, answer.find_last_not_of(blanks) - begin + 1));
    std::transform(word.begin(), word.end(), word.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20)
                                                    : character;
    });
    return word == "y" || word == "yes";
}

} // namespace

bool StopQuestion::canAsk() const
{
    if (!m_console.input.isTerminal()) {
        m_console.sayError("Standard input is not a terminal to ask on; --yes is needed.");
        return false;
    }
    if (!m_console.errors.terminal().isTerminal) {
        m_console.sayError("Standard error is not a terminal to ask on; --yes is needed.");
        return false;
    }
    return true;
}

bool StopQuestion::isConfirmed(std::string_view question) const
{
    if (const std::error_code failure = m_console.input.discardPending()) {
        m_console.sayError("Cannot read an answer: " + failure.message());
        return false;
    }
    if (const std::error_code failure = m_console.errors.write(std::string(question) + " [y/N] ")) {
        return false; // an answer to what nobody could read is none
    }
    const std::optional<std::string> answer = m_console.input.readLine();
    if (!answer) {
        m_console.say("");
    }
    return answer && isYes(*answer);
}

} // namespace Tarnwick
