// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <array>
#include <clocale>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The search of a list: one text, matched as a whole. An entry matches when the decimal text of
/// its port contains the text, or its process, description or command contains it with case ignored
/// as the user's locale does (in Turkish, "I" is the capital of the dotless "ı"). White space at
/// both ends is trimmed; what is then empty matches everything. One thread at a time.
class PortSearch
{
public:
    /// @p localeName as newlocale(3) takes it; empty means the user's own, from the environment. A
    /// locale that is not installed, or whose characters are not UTF-8, counts as C.UTF-8.
    explicit PortSearch(std::string_view text, const char *localeName = "");
    ~PortSearch();
    PortSearch(const PortSearch &) = delete;
    PortSearch &operator=(const PortSearch &) = delete;

    [[nodiscard]] bool matches(const PortEntry &entry) const;

    /// Whether @p text, which belongs to none of those, contains the text as they may; true of
    /// every text when the search is for nothing.
    [[nodiscard]] bool contains(std::string_view text) const;

private:
    /// Makes @p result the lower case of @p text.
    void fold(std::string_view text, std::string &result) const;

    locale_t m_locale;
    /// The lower case of each ASCII character; 0 where the locale leads out of ASCII.
    std::array<char, 128> m_foldedAscii{};
    std::string m_text;                 ///< trimmed
    std::string m_foldedText;           ///< trimmed, in lower case
    mutable std::string m_foldedTarget; ///< kept for its memory: thousands of texts pass through
};

} // namespace Tarnwick
