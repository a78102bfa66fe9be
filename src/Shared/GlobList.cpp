// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/GlobList.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

bool matchesAny(const std::vector<Glob> &globs, std::string_view text)
{
    return std::any_of(globs.begin(), globs.end(),
                       [text](const Glob &glob) { return glob.matches(text); });
}

bool isBelowHome(std::string_view pattern)
{
    return pattern == "~" || pattern.starts_with("~/");
}

/// @p text as a pattern that matches nothing else.
std::string escaped(std::string_view text)
{
    std::string pattern;
    for (const char character : text) {
        if (std::string_view("*?[]{},\\").find(character) != std::string_view::npos) {
            pattern += '\\';
        }
        pattern += character;
    }
    return pattern;
}

} // namespace

std::string GlobList::add(std::string_view entry, Glob::Subject subject, std::string_view home)
{
    std::string_view pattern = entry;
    const bool isExcluded = pattern.starts_with('!');
    pattern.remove_prefix(isExcluded ? 1 : 0);

    const bool needsHome = subject == Glob::Subject::Path && isBelowHome(pattern);
    Glob::Compiled compiled =
        needsHome && pattern.size() <= Glob::maxPatternSize
            ? Glob::compile(escaped(home) + std::string(pattern.substr(1)), subject)
            : Glob::compile(pattern, subject);
    const bool isForNobody = needsHome && home.empty();
    if (auto *problem = std::get_if<std::string>(&compiled); problem != nullptr && !isForNobody) {
        return std::move(*problem);
    }
    m_entries.emplace_back(entry);
    m_hasIncluded = m_hasIncluded || !isExcluded;
    if (!isForNobody) {
        auto &globs = std::get<std::vector<Glob>>(compiled);
        std::move(globs.begin(), globs.end(),
                  std::back_inserter(isExcluded ? m_excluded : m_included));
    }
    return {};
}

bool GlobList::matches(std::string_view text) const
{
    return !text.empty() && (!m_hasIncluded || matchesAny(m_included, text)) &&
           !matchesAny(m_excluded, text);
}

std::optional<std::vector<std::string>> GlobList::onlyTexts() const
{
    const auto isLiteral = [](const Glob &glob) { return glob.isLiteral(); };
    if (!m_hasIncluded || !std::all_of(m_included.begin(), m_included.end(), isLiteral)) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    for (const Glob &glob : m_included) {
        texts.emplace_back(glob.literalEnd());
    }
    return texts;
}

} // namespace Tarnwick
