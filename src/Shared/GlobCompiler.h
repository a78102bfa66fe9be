// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/Glob.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// Takes one pattern without braces apart, for Glob::compile(). Any thread; used once.
class GlobCompiler
{
public:
    GlobCompiler(std::string_view pattern, Glob::Subject subject);

    /// The pattern, added to @p globs; or what is wrong with it, and empty when nothing is.
    [[nodiscard]] std::string compileInto(std::vector<Glob> &globs);

    /// @p pattern without braces, once for each combination of their alternatives, added to @p
    /// patterns; or what is wrong with it, and empty when nothing is.
    [[nodiscard]] static std::string expandInto(std::string_view pattern,
                                                std::vector<std::string> &patterns);

private:
    using Element = Glob::Element;
    using Kind = Element::Kind;

    void addLiteral(std::string_view text);
    void addStars();
    [[nodiscard]] bool addClass();
    [[nodiscard]] char32_t takeCharacter();
    [[nodiscard]] bool isAtComponent() const;

    std::string_view m_rest;
    Glob::Subject m_subject;
    std::size_t m_stars = 0;
    std::vector<Element> m_elements;
};

} // namespace Tarnwick
