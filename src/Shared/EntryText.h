// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The texts that a listener is shown with, the same in the panel and in the terminal.
class EntryText
{
public:
    EntryText() = delete;

    /// @p text with the home directory at its start written "~": a text equal to @p home becomes
    /// "~", one that begins with it and a slash keeps the rest after "~". Others stay as they are,
    /// and so does every text when @p home is empty.
    [[nodiscard]] static std::string replacingHomePrefix(std::string_view text,
                                                         std::string_view home);

    /// The command line: the non-empty ones of the entry's `originArguments`, each with its home
    /// prefix replaced, joined with single blanks; the entry's `command` unchanged if there are
    /// none.
    [[nodiscard]] static std::string fullCommand(const PortEntry &entry, std::string_view home);

    /// The working directory with its home prefix replaced; nothing when it tells nothing: empty,
    /// "/", or the folder of the executable.
    [[nodiscard]] static std::optional<std::string> displayCwd(const PortEntry &entry,
                                                               std::string_view home);
};

} // namespace Tarnwick
