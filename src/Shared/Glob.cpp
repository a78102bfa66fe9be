// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Glob.h"

#include "Shared/GlobCompiler.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include <cstring>

namespace Tarnwick {

namespace {

constexpr std::size_t nowhere = std::string_view::npos;

constexpr bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The first place after the character at @p at.
std::size_t after(std::string_view text, std::size_t at)
{
    do {
        ++at;
    } while (at < text.size() && isContinuation(text[at]));
    return at;
}

/// The code point that @p character, the bytes of one, stands for; without regard to its validity.
char32_t codePointOf(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character.front());
    if (character.size() < 2 || first < 0xC0U) {
        return first;
    }
    // Of a first byte as many bits count as the number of bytes leaves (RFC 3629, section 3).
    char32_t codePoint = first & (0x7FU >> std::min<std::size_t>(character.size(), 4));
    for (const char byte : character.substr(1)) {
        codePoint = (codePoint << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return codePoint;
}

/// string_view::find() takes time in proportion to both sizes at worst, memmem(3) to their sum.
std::size_t find(std::string_view text, std::string_view wanted, std::size_t from)
{
    const void *const found =
        memmem(text.data() + from, text.size() - from, wanted.data(), wanted.size());
    return found == nullptr
               ? nowhere
               : static_cast<std::size_t>(static_cast<const char *>(found) - text.data());
}

} // namespace

/// One text held against a pattern that begins and ends as the text does. Each wildcard takes as
/// little as possible; what follows it is then found as early as can be. So when that cannot be
/// found in the rest of the text, no earlier wildcard need take more; and when a `*` has come to
/// the end of a component without finding it, it need not be tried from another place in that
/// component. That bounds the time.
class Glob::Run
{
public:
    Run(const Glob &glob, std::string_view text)
        : m_elements(glob.m_elements)
        , m_subject(glob.m_subject)
        , m_text(text)
    {
    }

    [[nodiscard]] bool matches();

private:
    using Kind = Element::Kind;
    enum class Step : std::uint8_t { Taken, Refused, Matched };

    /// A wildcard's element, and how far it has taken characters.
    struct Wildcard
    {
        std::size_t element = nowhere;
        std::size_t at = 0;

        [[nodiscard]] bool isThere() const { return element != nowhere; }
    };

    [[nodiscard]] Step step();
    [[nodiscard]] bool takeCharacters(const Element &element);
    [[nodiscard]] bool isDecidedBehind(std::size_t element) const;
    [[nodiscard]] bool retry();
    [[nodiscard]] bool extendAcross();
    void goOnBehind(const Wildcard &wildcard);

    const std::vector<Element> &m_elements;
    Subject m_subject;
    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_index = 0; ///< of the element
    Wildcard m_star;         ///< the last `Star` since m_across
    Wildcard m_across;       ///< the last `Across` or `Folders`
    /// By star: places below this one lead nowhere.
    std::array<std::size_t, maxStars> m_exhausted{};
};

Glob::Compiled Glob::compile(std::string_view pattern, Subject subject)
{
    if (pattern.empty()) {
        return "an empty pattern";
    }
    if (pattern.size() > maxPatternSize) {
        return "a pattern of more than " + std::to_string(maxPatternSize) + " bytes";
    }
    std::vector<std::string> patterns;
    std::string problem = GlobCompiler::expandInto(pattern, patterns);
    std::vector<Glob> globs;
    for (const std::string &each : patterns) {
        if (problem.empty()) {
            problem = GlobCompiler(each, subject).compileInto(globs);
        }
    }
    if (!problem.empty()) {
        return problem;
    }
    return globs;
}

Glob::Glob(std::vector<Element> elements, Subject subject)
    : m_elements(std::move(elements))
    , m_subject(subject)
{
}

std::vector<std::string_view> Glob::literals() const
{
    std::vector<std::string_view> texts;
    for (const Element &element : m_elements) {
        if (element.kind == Element::Kind::Literal) {
            texts.emplace_back(element.text);
        }
    }
    return texts;
}

bool Glob::isLiteral() const
{
    return m_elements.empty() ||
           (m_elements.size() == 1 && m_elements.front().kind == Element::Kind::Literal);
}

std::string_view Glob::literalEnd() const
{
    const bool hasEnd = !m_elements.empty() && m_elements.back().kind == Element::Kind::Literal;
    return hasEnd ? std::string_view(m_elements.back().text) : std::string_view();
}

bool Glob::Run::matches()
{
    for (;;) {
        const Step made = step();
        if (made == Step::Matched) {
            return true;
        }
        if (made == Step::Taken) {
            ++m_index;
        } else if (!retry()) {
            return false;
        }
    }
}

Glob::Run::Step Glob::Run::step()
{
    if (m_index == m_elements.size()) {
        return m_at == m_text.size() ? Step::Matched : Step::Refused;
    }
    const Element &element = m_elements[m_index];
    switch (element.kind) {
    case Kind::Star:
        if (m_at < m_exhausted[element.star]) {
            return Step::Refused;
        }
        m_star = {m_index, m_at};
        return Step::Taken;
    case Kind::Across:
    case Kind::Folders:
        if (element.kind == Kind::Across && isDecidedBehind(m_index)) {
            return Step::Matched;
        }
        m_across = {m_index, m_at};
        m_star = {};
        return Step::Taken;
    case Kind::Below:
        return m_at == m_text.size() || m_text[m_at] == '/' ? Step::Matched : Step::Refused;
    case Kind::Literal:
    case Kind::AnyCharacter:
    case Kind::Class:
        break;
    }
    return takeCharacters(element) ? Step::Taken : Step::Refused;
}

bool Glob::Run::takeCharacters(const Element &element)
{
    const std::string_view rest = m_text.substr(m_at);
    if (element.kind == Kind::Literal) {
        m_at += element.text.size();
        return rest.starts_with(element.text);
    }
    if (rest.empty() || (m_subject == Subject::Path && rest.starts_with('/'))) {
        return false;
    }
    const std::size_t next = after(m_text, m_at);
    const char32_t character = codePointOf(m_text.substr(m_at, next - m_at));
    m_at = next;
    if (element.kind == Kind::AnyCharacter) {
        return true;
    }
    const bool isListed =
        std::any_of(element.ranges.begin(), element.ranges.end(), [character](const auto &range) {
            return character >= range.first && character <= range.second;
        });
    return isListed != element.isNegated;
}

/// Whether @p element is the last one, or has only a literal behind it: that the text ends with it
/// is known.
bool Glob::Run::isDecidedBehind(std::size_t element) const
{
    const std::size_t left = m_elements.size() - element - 1;
    return left == 0 || (left == 1 && m_elements.back().kind == Kind::Literal &&
                         m_at + m_elements.back().text.size() <= m_text.size());
}

/// Has the last wildcard that can do so take more; false where none can.
bool Glob::Run::retry()
{
    if (m_star.isThere()) {
        if (m_star.at == m_text.size()) {
            return false;
        }
        if (m_text[m_star.at] != '/') {
            m_star.at = after(m_text, m_star.at);
            goOnBehind(m_star);
            return true;
        }
        m_exhausted[m_elements[m_star.element].star] = m_star.at + 1;
        m_star = {};
    }
    if (!m_across.isThere() || m_across.at >= m_text.size() || !extendAcross()) {
        return false;
    }
    goOnBehind(m_across);
    return true;
}

bool Glob::Run::extendAcross()
{
    const bool isLast = m_across.element + 1 == m_elements.size();
    if (m_elements[m_across.element].kind == Kind::Folders) {
        const std::size_t slash = m_text.find('/', m_across.at);
        m_across.at = slash == nowhere ? nowhere : slash + 1;
    } else if (!isLast && m_elements[m_across.element + 1].kind == Kind::Literal) {
        m_across.at = find(m_text, m_elements[m_across.element + 1].text, m_across.at + 1);
    } else {
        m_across.at = after(m_text, m_across.at);
    }
    return m_across.at != nowhere;
}

void Glob::Run::goOnBehind(const Wildcard &wildcard)
{
    m_at = wildcard.at;
    m_index = wildcard.element + 1;
}

bool Glob::matches(std::string_view text) const
{
    if (m_elements.empty()) {
        return text.empty();
    }
    // Nearly every text that does not match is refused by one of these.
    const Element &first = m_elements.front();
    if (first.kind == Element::Kind::Literal && !text.starts_with(first.text)) {
        return false;
    }
    return text.ends_with(literalEnd()) && Run(*this, text).matches();
}

} // namespace Tarnwick
