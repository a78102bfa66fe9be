// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Style.h"

#include "Models/Color.h"

#include <array>
#include <cstddef>
#include <limits>

namespace Tarnwick {

namespace {

struct Rgb
{
    int red;
    int green;
    int blue;
};

Rgb rgb(const Color &color)
{
    // Rounded by halves: lround(3) would load the library of mathematics with every start.
    const auto byte = [](double component) { return (static_cast<int>(component * 510) + 1) / 2; };
    return {byte(color.red), byte(color.green), byte(color.blue)};
}

int distance(const Rgb &left, const Rgb &right)
{
    const auto square = [](int difference) { return difference * difference; };
    return square(left.red - right.red) + square(left.green - right.green) +
           square(left.blue - right.blue);
}

/// The colour with that number, 16 to 255, in the palette of xterm (its 256colres.pl); the 16 below
/// are the user's to choose.
Rgb paletteColor(int number)
{
    constexpr std::array<int, 6> levels{0, 95, 135, 175, 215, 255};
    constexpr int firstOfCube = 16;
    constexpr int firstGrey = 232;
    const auto level = [&levels](int index) { return levels.at(static_cast<std::size_t>(index)); };
    if (number >= firstGrey) {
        const int grey = 8 + 10 * (number - firstGrey);
        return {grey, grey, grey};
    }
    const int index = number - firstOfCube;
    return {level(index / 36), level(index / 6 % 6), level(index % 6)};
}

int nearestInPalette(const Rgb &color)
{
    int nearest = 0;
    int least = std::numeric_limits<int>::max();
    for (int number = 16; number < 256; ++number) {
        const int candidate = distance(color, paletteColor(number));
        if (candidate < least) {
            least = candidate;
            nearest = number;
        }
    }
    return nearest;
}

} // namespace

ColorDepth colorDepth(const Environment &environment, bool isTerminal)
{
    if (!isTerminal || !environment.noColor.empty() || environment.hasPlainTerminal()) {
        return ColorDepth::None;
    }
    if (environment.colorTerm == "truecolor" || environment.colorTerm == "24bit") {
        return ColorDepth::TrueColor;
    }
    return ColorDepth::Palette256;
}

std::string Style::accent(PortTier tier) const
{
    if (m_depth == ColorDepth::None) {
        return {};
    }
    const Rgb color = rgb(accentColor(tier));
    if (m_depth == ColorDepth::Palette256) {
        return "\x1b[38;5;" + std::to_string(nearestInPalette(color)) + "m";
    }
    return "\x1b[38;2;" + std::to_string(color.red) + ";" + std::to_string(color.green) + ";" +
           std::to_string(color.blue) + "m";
}

std::string_view Style::bold() const
{
    return m_depth == ColorDepth::None ? "" : "\x1b[1m";
}

std::string_view Style::dimmed() const
{
    return m_depth == ColorDepth::None ? "" : "\x1b[2m";
}

std::string_view Style::reset() const
{
    return m_depth == ColorDepth::None ? "" : "\x1b[0m";
}

} // namespace Tarnwick
