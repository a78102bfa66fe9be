// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Tarnwick {

/// A pattern of the rules for tiers, compiled. In a path:
///
///     *        any characters within a component        ?      one character, not a slash
///     **       any characters, slashes too              [a-z]  one of these, [!a-z] none of them
///     /**/     a slash, or folders of any depth         {a,b}  one of these patterns
///     a/**     the folder `a` and all that is below it  \      takes the meaning of the next
///     character
///
/// In other texts a slash is a character like others, and `*` and `**` are the same. A pattern
/// matches the whole text; letters match in their own case only. The time of a match grows with the
/// size of the text and never with a power of it. A value; matching is for any thread.
class Glob
{
public:
    enum class Subject : std::uint8_t {
        Path, ///< components between slashes
        Text, ///< anything else
    };

    static constexpr std::size_t maxPatternSize = 512; ///< bytes
    static constexpr std::size_t maxStars = 16;        ///< in a pattern without braces
    static constexpr std::size_t maxAlternatives = 256;

    using Compiled = std::variant<std::vector<Glob>, std::string>;

    /// What @p pattern, which is valid UTF-8, means: it matches where one of the results does, of
    /// which braces make several. Or, in a few words, what is wrong with it: empty, longer than
    /// maxPatternSize, too many alternatives or stars, an open bracket or brace, a backslash at the
    /// end.
    [[nodiscard]] static Compiled compile(std::string_view pattern, Subject subject);

    /// Whether the pattern is the whole of @p text. What is not UTF-8 is compared byte by byte.
    [[nodiscard]] bool matches(std::string_view text) const;

    /// The texts between the wildcards; every text that the pattern matches contains them.
    [[nodiscard]] std::vector<std::string_view> literals() const;

    /// The text that the pattern ends with, after its last wildcard; all of it where it has none.
    [[nodiscard]] std::string_view literalEnd() const;

    /// Whether there is no wildcard in it.
    [[nodiscard]] bool isLiteral() const;

private:
    struct Element
    {
        enum class Kind : std::uint8_t {
            Literal,
            AnyCharacter,
            Class,
            Star,    ///< within a component
            Across,  ///< any characters
            Folders, ///< nothing, or folders with their slashes: from the beginning of a component
            Below,   ///< nothing, or a slash and all that follows; the last element
        };

        Kind kind;
        bool isNegated = false;
        std::size_t star = 0; ///< which `Star` this is
        std::string text{};
        std::vector<std::pair<char32_t, char32_t>> ranges{};
    };

    class Run;

    friend class GlobCompiler;

    Glob(std::vector<Element> elements, Subject subject);

    std::vector<Element> m_elements;
    Subject m_subject;
};

} // namespace Tarnwick
