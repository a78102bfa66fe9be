// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Environment.h"
#include "Models/PortTier.h"

#include <string>
#include <string_view>

namespace Tarnwick {

/// How many colours an output can show.
enum class ColorDepth {
    None,       ///< no control sequences at all
    Palette256, ///< the 256 colours of xterm: a cube of 6 x 6 x 6 and 24 greys
    TrueColor,  ///< 24 bits
};

/// The depth of an output that is a terminal or not, in @p environment.
[[nodiscard]] ColorDepth colorDepth(const Environment &environment, bool isTerminal);

/// The control sequences (ECMA-48, SGR) that the outputs are styled with; all empty when there are
/// no colours.
class Style
{
public:
    explicit Style(ColorDepth depth)
        : m_depth(depth)
    {
    }

    /// Switches to the accent colour of @p tier.
    [[nodiscard]] std::string accent(PortTier tier) const;
    [[nodiscard]] std::string_view bold() const;
    [[nodiscard]] std::string_view dimmed() const;
    /// Back to plain text.
    [[nodiscard]] std::string_view reset() const;

private:
    ColorDepth m_depth;
};

} // namespace Tarnwick
