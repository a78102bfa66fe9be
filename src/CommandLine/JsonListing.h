// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "CommandLine/TextOutput.h"

#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace Tarnwick {

/// The listing for programs: JSON objects with the nine members that the helper reports, then
/// `tier` and `description`. What does not print is escaped within the strings, so that a listing
/// that is read on a terminal does nothing to it; decoded, each string is the one that was
/// reported.
class JsonListing
{
public:
    JsonListing() = delete;

    /// Writes an array with one object on each line, and a line feed at the end; "[]" when there
    /// are none. In steps, so that the whole is never in memory; ends with the first that fails.
    [[nodiscard]] static std::error_code write(std::span<const Listener> listeners,
                                               TextOutput &output);

    /// One object on a line of its own that begins with the member "change" of the value @p change.
    [[nodiscard]] static std::string changeLine(std::string_view change, const Listener &listener);
};

} // namespace Tarnwick
