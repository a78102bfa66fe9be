// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace Tarnwick {

/// One of the built-in rules, by which ProcessClassifier finds the tier of an executable.
struct PathRule
{
    enum class Test : std::uint8_t { BeginsWith, Contains };

    Test test;
    std::string_view text;
    PortTier tier;

    [[nodiscard]] constexpr bool matches(std::string_view path) const
    {
        return test == Test::BeginsWith ? path.starts_with(text)
                                        : path.find(text) != std::string_view::npos;
    }
};

/// The first rule that matches decides, so the order is part of the meaning: an application that
/// the system ships is `System`, one that a package manager keeps is `App`.
inline constexpr std::array<PathRule, 20> pathRules{{
    {PathRule::Test::BeginsWith, "/System/", PortTier::System},
    {PathRule::Test::BeginsWith, "/usr/libexec/", PortTier::System},
    {PathRule::Test::BeginsWith, "/usr/sbin/", PortTier::System},
    {PathRule::Test::BeginsWith, "/usr/bin/", PortTier::System},
    {PathRule::Test::BeginsWith, "/sbin/", PortTier::System},
    {PathRule::Test::BeginsWith, "/bin/", PortTier::System},
    {PathRule::Test::BeginsWith, "/Library/Apple/", PortTier::System},
    {PathRule::Test::Contains, "/Applications/", PortTier::App},
    {PathRule::Test::BeginsWith, "/Library/Application Support/", PortTier::App},
    {PathRule::Test::Contains, "/.nvm/", PortTier::Dev},
    {PathRule::Test::Contains, "/.pyenv/", PortTier::Dev},
    {PathRule::Test::Contains, "/.rbenv/", PortTier::Dev},
    {PathRule::Test::Contains, "/.cargo/", PortTier::Dev},
    {PathRule::Test::Contains, "/.asdf/", PortTier::Dev},
    {PathRule::Test::Contains, "/mise/", PortTier::Dev},
    {PathRule::Test::Contains, "/homebrew/", PortTier::Dev}, // below /opt and anywhere else
    {PathRule::Test::BeginsWith, "/opt/local/", PortTier::Dev},
    {PathRule::Test::BeginsWith, "/usr/local/", PortTier::Dev},
    {PathRule::Test::Contains, "/.local/share/", PortTier::Dev},
    {PathRule::Test::Contains, "/.local/bin/", PortTier::Dev},
}};

} // namespace Tarnwick
