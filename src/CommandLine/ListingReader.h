// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// Reads what `tarnwickctl list --json` wrote, be it on another machine.
class ListingReader
{
public:
    ListingReader() = delete;

    /// Why a text is no such listing, for people.
    struct Error
    {
        std::string message;
    };

    /// The listeners in @p json, in their order. The nine members of a record must be there; one of
    /// the others that is missing, or of another type, is unknown. Needs no stack in proportion to
    /// the text. Any thread.
    [[nodiscard]] static std::variant<std::vector<Listener>, Error> read(std::string_view json);

    /// The objects in @p json as they are, each on one line without a line feed; fails as read()
    /// does.
    [[nodiscard]] static std::variant<std::vector<std::string>, Error>
    objects(std::string_view json);
};

} // namespace Tarnwick
