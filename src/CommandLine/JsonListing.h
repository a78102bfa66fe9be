// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The listing for programs: JSON objects with the nine members that the helper reports, then
/// `tier` and `description`. What does not print is escaped within the strings, so that a listing
/// that is read on a terminal does nothing to it; decoded, each string is the one that was
/// reported.
class JsonListing
{
public:
    JsonListing() = delete;

    /// An array with one object on each line, and a line feed at the end; "[]" when there are none.
    [[nodiscard]] static std::string array(std::span<const Listener> listeners);

    /// One object on a line of its own that begins with the member "change" of the value @p change.
    [[nodiscard]] static std::string changeLine(std::string_view change, const Listener &listener);
};

} // namespace Tarnwick
