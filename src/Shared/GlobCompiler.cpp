// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/GlobCompiler.h"

#include "Shared/Utf8.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::string_view openBracket = "'[' without ']'";
constexpr std::string_view openBrace = "'{' without '}'";
constexpr std::string_view danglingBackslash = "a backslash at the end";
const std::string tooManyAlternatives =
    "more than " + std::to_string(Glob::maxAlternatives) + " alternatives";

/// Where the class that begins with the '[' at @p at ends, behind its ']'; npos when it is open.
/// The first character of a class is one of it, even a ']'.
std::size_t endOfClass(std::string_view pattern, std::size_t at)
{
    ++at;
    at += at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^') ? 1U : 0U;
    for (bool isFirst = true; at < pattern.size(); isFirst = false) {
        if (pattern[at] == ']' && !isFirst) {
            return at + 1;
        }
        at += pattern[at] == '\\' ? 2U : 1U;
    }
    return std::string_view::npos;
}

/// The next place at or after @p at that is neither escaped nor in a class.
std::size_t skipOrdinary(std::string_view pattern, std::size_t at)
{
    while (at < pattern.size()) {
        if (pattern[at] == '\\') {
            at += 2;
        } else if (pattern[at] == '[') {
            at = endOfClass(pattern, at);
        } else {
            break;
        }
    }
    return std::min(at, pattern.size());
}

struct Braces
{
    std::size_t begin = 0; ///< the '{'
    std::size_t end = 0;   ///< behind the '}'
    std::vector<std::string_view> alternatives{};
    bool isFound = false;
    bool isOpen = false;
};

/// The outermost braces that come first.
Braces firstBraces(std::string_view pattern)
{
    Braces braces;
    std::size_t depth = 0;
    std::size_t begin = 0;
    for (std::size_t at = skipOrdinary(pattern, 0); at < pattern.size();
         at = skipOrdinary(pattern, at + 1)) {
        const char character = pattern[at];
        if (character == '{' && ++depth == 1) {
            braces.begin = at;
            begin = at + 1;
        } else if (depth == 1 && (character == ',' || character == '}')) {
            braces.alternatives.push_back(pattern.substr(begin, at - begin));
            begin = at + 1;
        }
        if (character == '}' && depth > 0 && --depth == 0) {
            braces.end = at + 1;
            braces.isFound = true;
            return braces;
        }
    }
    braces.isOpen = depth > 0;
    return braces;
}

} // namespace

GlobCompiler::GlobCompiler(std::string_view pattern, Glob::Subject subject)
    : m_rest(pattern)
    , m_subject(subject)
{
}

std::string GlobCompiler::expandInto(std::string_view pattern, std::vector<std::string> &patterns)
{
    const Braces braces = firstBraces(pattern);
    if (braces.isOpen) {
        return std::string(openBrace);
    }
    if (!braces.isFound) {
        patterns.emplace_back(pattern);
        return patterns.size() > Glob::maxAlternatives ? tooManyAlternatives : std::string();
    }
    for (const std::string_view alternative : braces.alternatives) {
        std::string expanded(pattern.substr(0, braces.begin));
        expanded.append(alternative).append(pattern.substr(braces.end));
        if (std::string problem = expandInto(expanded, patterns); !problem.empty()) {
            return problem;
        }
    }
    return {};
}

std::string GlobCompiler::compileInto(std::vector<Glob> &globs)
{
    while (!m_rest.empty()) {
        if (m_rest.front() == '*') {
            addStars();
        } else if (m_rest.front() == '?') {
            m_rest.remove_prefix(1);
            m_elements.push_back({.kind = Kind::AnyCharacter});
        } else if (m_rest.front() == '[') {
            if (!addClass()) {
                return std::string(openBracket);
            }
        } else {
            const bool isEscaped = m_rest.front() == '\\';
            m_rest.remove_prefix(isEscaped ? 1 : 0);
            if (m_rest.empty()) {
                return std::string(danglingBackslash);
            }
            const std::size_t end = std::min(m_rest.find_first_of("*?[\\", 1), m_rest.size());
            addLiteral(m_rest.substr(0, end));
            m_rest.remove_prefix(end);
        }
    }
    if (m_stars > Glob::maxStars) {
        return "more than " + std::to_string(Glob::maxStars) + " times '*'";
    }
    globs.push_back(Glob(std::move(m_elements), m_subject));
    return {};
}

void GlobCompiler::addLiteral(std::string_view text)
{
    if (m_elements.empty() || m_elements.back().kind != Kind::Literal) {
        m_elements.push_back({.kind = Kind::Literal});
    }
    m_elements.back().text += text;
}

/// Whether what has been read ends with a slash or has not begun.
bool GlobCompiler::isAtComponent() const
{
    return m_elements.empty() || m_elements.back().kind == Kind::Folders ||
           (m_elements.back().kind == Kind::Literal && m_elements.back().text.ends_with('/'));
}

void GlobCompiler::addStars()
{
    const std::size_t count = std::min(m_rest.find_first_not_of('*'), m_rest.size());
    m_rest.remove_prefix(count);
    if (m_subject == Glob::Subject::Path && count == 1) {
        m_elements.push_back({.kind = Kind::Star, .star = m_stars++});
        return;
    }
    if (m_subject == Glob::Subject::Path && isAtComponent()) {
        if (m_rest.starts_with('/')) {
            m_rest.remove_prefix(1);
            m_elements.push_back({.kind = Kind::Folders});
            return;
        }
        if (m_rest.empty() && !m_elements.empty() && m_elements.back().kind == Kind::Literal) {
            std::string &before = m_elements.back().text;
            before.pop_back();
            if (before.empty()) {
                m_elements.pop_back();
            }
            m_elements.push_back({.kind = Kind::Below});
            return;
        }
    }
    m_elements.push_back({.kind = Kind::Across});
}

/// The next character of a class.
char32_t GlobCompiler::takeCharacter()
{
    m_rest.remove_prefix(m_rest.size() > 1 && m_rest.front() == '\\' ? 1 : 0);
    return Utf8::takeCodePoint(m_rest);
}

bool GlobCompiler::addClass()
{
    const std::size_t end = endOfClass(m_rest, 0);
    if (end == std::string_view::npos || end > m_rest.size()) {
        return false;
    }
    const std::string_view behind = m_rest.substr(end);
    m_rest = m_rest.substr(1, end - 2);
    Element element{.kind = Kind::Class};
    element.isNegated = m_rest.starts_with('!') || m_rest.starts_with('^');
    m_rest.remove_prefix(element.isNegated ? 1 : 0);
    while (!m_rest.empty()) {
        const char32_t first = takeCharacter();
        char32_t last = first;
        if (m_rest.size() > 1 && m_rest.front() == '-') {
            m_rest.remove_prefix(1);
            last = takeCharacter();
        }
        element.ranges.emplace_back(first, last);
    }
    m_rest = behind;
    m_elements.push_back(std::move(element));
    return true;
}

} // namespace Tarnwick
