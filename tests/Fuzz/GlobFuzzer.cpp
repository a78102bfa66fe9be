// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Glob.h"
#include "Shared/GlobCompiler.h"
#include "Shared/Utf8.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

using namespace Tarnwick;

namespace {

/// What a pattern without braces and classes means, by trying everything and remembering it.
class Reference
{
public:
    Reference(std::string_view pattern, std::string_view text, Glob::Subject subject)
        : m_pattern(pattern)
        , m_text(text)
        , m_isPath(subject == Glob::Subject::Path)
    {
    }

    [[nodiscard]] bool matches(std::size_t pattern = 0, std::size_t text = 0)
    {
        const auto [known, isNew] = m_known.try_emplace({pattern, text}, false);
        if (isNew) {
            const bool result = find(pattern, text);
            m_known[{pattern, text}] = result;
            return result;
        }
        return known->second;
    }

private:
    [[nodiscard]] bool find(std::size_t pattern, std::size_t text)
    {
        if (pattern == m_pattern.size()) {
            return text == m_text.size();
        }
        const char character = m_pattern[pattern];
        if (character == '*') {
            return findStar(pattern, text);
        }
        const bool isThere = text < m_text.size();
        if (character == '?') {
            return isThere && (!m_isPath || m_text[text] != '/') && matches(pattern + 1, text + 1);
        }
        // "a/**" at the end is "a", too.
        if (m_isPath && character == '/' && isLastFolder(pattern) && text == m_text.size()) {
            return true;
        }
        return isThere && m_text[text] == character && matches(pattern + 1, text + 1);
    }

    [[nodiscard]] bool isLastFolder(std::size_t slash) const
    {
        const std::string_view rest = m_pattern.substr(slash + 1);
        return rest.size() > 1 && rest.find_first_not_of('*') == std::string_view::npos;
    }

    [[nodiscard]] bool findStar(std::size_t pattern, std::size_t text)
    {
        const std::size_t end =
            std::min(m_pattern.find_first_not_of('*', pattern), m_pattern.size());
        const bool isAcross = !m_isPath || end - pattern > 1;
        const bool isAtComponent = pattern == 0 || m_pattern[pattern - 1] == '/';
        if (m_isPath && isAcross && isAtComponent && end < m_pattern.size() &&
            m_pattern[end] == '/') {
            for (std::size_t at = text; at <= m_text.size(); ++at) {
                if ((at == text || m_text[at - 1] == '/') && matches(end + 1, at)) {
                    return true;
                }
            }
            return false;
        }
        for (std::size_t at = text; at <= m_text.size(); ++at) {
            if (matches(end, at)) {
                return true;
            }
            if (at < m_text.size() && m_text[at] == '/' && !isAcross) {
                return false;
            }
        }
        return false;
    }

    std::string_view m_pattern;
    std::string_view m_text;
    bool m_isPath;
    std::map<std::pair<std::size_t, std::size_t>, bool> m_known;
};

bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x80 &&
               std::string_view("[]{}\\").find(character) == std::string_view::npos;
    });
}

bool anyMatches(const std::vector<Glob> &globs, std::string_view text)
{
    return std::any_of(globs.begin(), globs.end(),
                       [text](const Glob &glob) { return glob.matches(text); });
}

} // namespace

/// The pattern, a line feed, and the text.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view input = textOf(data, size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string pattern = Utf8::sanitized(input.substr(0, end));
    const std::string_view text = input.substr(std::min(end + 1, input.size()));
    for (const Glob::Subject subject : {Glob::Subject::Path, Glob::Subject::Text}) {
        const Glob::Compiled compiled = Glob::compile(pattern, subject);
        const auto *const globs = std::get_if<std::vector<Glob>>(&compiled);
        if (globs == nullptr) {
            require(!std::get<std::string>(compiled).empty());
            continue;
        }
        require(!globs->empty() && globs->size() <= Glob::maxAlternatives);
        const bool isMatched = anyMatches(*globs, text);
        if (isPlain(pattern) && isPlain(text) && text.size() <= 64) {
            require(isMatched == Reference(pattern, text, subject).matches());
        }
    }
    return 0;
}
