// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// A colour in the sRGB colour space; each component, and the opacity, from 0.0 to 1.0.
struct Color
{
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double opacity = 1.0;

    friend constexpr bool operator==(const Color &, const Color &) = default;
};

} // namespace Tarnwick
