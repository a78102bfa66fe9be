// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/JsonOwner.h"
#include "CommandLine/Listener.h"
#include "CommandLine/TextOutput.h"
#include "Models/Timestamp.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace Tarnwick {

/// The listing for programs: an array with one object (JsonOwner) on each line, and a line feed at
/// the end; "[]" when there are none. Written in steps, so that the whole is never in memory. After
/// a step that fails nothing more is written.
class JsonListing
{
public:
    /// @p output outlives the listing.
    explicit JsonListing(TextOutput &output)
        : m_output(output)
    {
    }

    /// Appends an object as JsonOwner::append() does.
    void add(JsonOwner &owner, std::int64_t port, const ListenerDetails &details,
             std::span<const Shadow> shadows);

    [[nodiscard]] bool isEmpty() const { return m_isEmpty; }

    /// Whether a step has failed.
    [[nodiscard]] bool hasFailed() const { return static_cast<bool>(m_error); }

    /// Ends the array; gives the error of the step that failed, if one has.
    [[nodiscard]] std::error_code finish();

    /// Writes a whole listing.
    [[nodiscard]] static std::error_code write(std::span<const Listener> listeners,
                                               TextOutput &output);

    /// One object on a line of its own that begins with the members "time", @p time in UTC with
    /// milliseconds, and "change" of the value @p change.
    [[nodiscard]] static std::string changeLine(Timestamp time, std::string_view change,
                                                const Listener &listener);

private:
    TextOutput &m_output;
    std::string m_json;
    std::error_code m_error;
    bool m_isEmpty = true;
};

} // namespace Tarnwick
