// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"
#include "CommandLine/WatchView.h"

#include <string>

namespace Tarnwick {

/// A watch on a terminal: the table, drawn again in the same place, never more than fits. The last
/// line tells the count of each tier, or why the last look failed.
class WatchScreen : public WatchView
{
public:
    /// @p nothingFound is what to show in place of an empty table.
    WatchScreen(const Console &console, std::string nothingFound);

    [[nodiscard]] std::error_code show(std::vector<Listener> listeners) override;
    [[nodiscard]] std::error_code showFailure(std::string_view message) override;
    [[nodiscard]] std::error_code redraw() override;

private:
    [[nodiscard]] std::string frame(const TerminalShape &shape) const;
    [[nodiscard]] std::vector<std::string> table(const TerminalShape &shape) const;
    [[nodiscard]] std::string lastLine() const;

    const Console &m_console;
    std::string m_nothingFound;
    std::vector<Listener> m_listeners;
    std::string m_failure; ///< empty after a look that went well
};

} // namespace Tarnwick
