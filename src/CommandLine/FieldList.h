// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Style.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// Texts with a name in front of each, in two columns.
class FieldList
{
public:
    /// Adds @p text, which must be printable, in @p style (a control sequence, or empty). A name
    /// that is empty goes on with the field above; a text that is empty adds nothing.
    void add(std::string_view name, std::string text, std::string style = {});

    /// Lines without line feeds, none wider than @p width: a text is wrapped at its blanks, and cut
    /// after a few lines. With Table::anyWidth, each text is one line.
    [[nodiscard]] std::vector<std::string> lines(const Style &style, std::size_t width) const;

private:
    struct Field
    {
        std::string name;
        std::string text;
        std::string style;
    };
    std::vector<Field> m_fields;
};

} // namespace Tarnwick
