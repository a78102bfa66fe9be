// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/PortSearch.h"

#include "Shared/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cwctype>
#include <string>

#include <langinfo.h>

namespace Tarnwick {

namespace {

locale_t localeNamed(const char *name)
{
    return newlocale(LC_CTYPE_MASK, name, locale_t{});
}

locale_t utf8LocaleNamed(const char *name)
{
    const locale_t locale = localeNamed(name);
    if (locale != locale_t{} && std::string_view(nl_langinfo_l(CODESET, locale)) != "UTF-8") {
        freelocale(locale);
        return {};
    }
    return locale;
}

/// The first of the candidates that there is; the last one is part of the C library.
locale_t openLocale(const char *name)
{
    if (const locale_t wanted = utf8LocaleNamed(name); wanted != locale_t{}) {
        return wanted;
    }
    if (const locale_t neutral = utf8LocaleNamed("C.UTF-8"); neutral != locale_t{}) {
        return neutral;
    }
    return localeNamed("C");
}

struct CodePoints
{
    char32_t first;
    char32_t last;
};

/// The property White_Space of the Unicode Character Database (PropList.txt).
constexpr std::array<CodePoints, 10> whiteSpace{{
    {0x0009, 0x000d},
    {0x0020, 0x0020},
    {0x0085, 0x0085},
    {0x00a0, 0x00a0},
    {0x1680, 0x1680},
    {0x2000, 0x200a},
    {0x2028, 0x2029},
    {0x202f, 0x202f},
    {0x205f, 0x205f},
    {0x3000, 0x3000},
}};

bool isWhiteSpace(char32_t codePoint)
{
    return std::ranges::any_of(whiteSpace, [codePoint](const CodePoints &range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

/// @p text, which is valid UTF-8, without the white space at both ends.
std::string trimmed(std::string_view text)
{
    std::size_t first = text.size();
    std::size_t end = text.size();
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t start = text.size() - rest.size();
        if (!isWhiteSpace(Utf8::takeCodePoint(rest))) {
            first = std::min(first, start);
            end = text.size() - rest.size();
        }
    }
    return std::string(text.substr(first, end - first));
}

std::array<char, 128> foldedAscii(locale_t locale)
{
    std::array<char, 128> folded{};
    for (std::size_t i = 0; i < folded.size(); ++i) {
        const wint_t lower = towlower_l(static_cast<wint_t>(i), locale);
        folded[i] = lower < folded.size() ? static_cast<char>(lower) : '\0';
    }
    return folded;
}

} // namespace

PortSearch::PortSearch(std::string_view text, const char *localeName)
    : m_locale(openLocale(localeName))
    , m_foldedAscii(foldedAscii(m_locale))
    , m_text(trimmed(Utf8::sanitized(text)))
{
    fold(m_text, m_foldedText);
}

PortSearch::~PortSearch()
{
    freelocale(m_locale);
}

bool PortSearch::matches(const PortEntry &entry) const
{
    return m_text.empty() || std::to_string(entry.port).find(m_text) != std::string::npos ||
           contains(entry.process) || contains(entry.description) || contains(entry.command);
}

void PortSearch::fold(std::string_view text, std::string &result) const
{
    result.clear();
    while (!text.empty()) {
        const auto byte = static_cast<unsigned char>(text.front());
        if (byte < m_foldedAscii.size() && m_foldedAscii[byte] != '\0') {
            result += m_foldedAscii[byte];
            text.remove_prefix(1);
            continue;
        }
        const auto codePoint = static_cast<wint_t>(Utf8::takeCodePoint(text));
        Utf8::append(result, static_cast<char32_t>(towlower_l(codePoint, m_locale)));
    }
}

bool PortSearch::contains(std::string_view text) const
{
    fold(text, m_foldedTarget);
    return m_foldedTarget.find(m_foldedText) != std::string::npos;
}

} // namespace Tarnwick
