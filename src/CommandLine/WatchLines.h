// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"
#include "CommandLine/WatchView.h"

#include <string>

namespace Tarnwick {

/// A watch for pipes and logs: a line for each listener that was added or removed since the scan
/// before. The first scan gives a line for each listener. What was removed comes before what was
/// added.
class WatchLines : public WatchView
{
public:
    enum class Format {
        Text, ///< "+ :3000 node 4711", "- :3000 node 4711"
        Json, ///< as JsonListing::changeLine() writes it, "opened" or "closed", with the time
    };

    WatchLines(const Console &console, Format format)
        : m_console(console)
        , m_format(format)
    {
    }

    [[nodiscard]] std::error_code show(std::vector<Listener> listeners) override;

    /// A message to the errors for the first of several failures in a row.
    [[nodiscard]] std::error_code showFailure(std::string_view message) override;

    [[nodiscard]] std::error_code redraw() override { return {}; }

private:
    enum class Change { Opened, Closed };
    [[nodiscard]] std::string line(Change change, const Listener &listener) const;

    const Console &m_console;
    Format m_format;
    std::vector<Listener> m_listeners;
    bool m_hasFailed = false;
};

} // namespace Tarnwick
