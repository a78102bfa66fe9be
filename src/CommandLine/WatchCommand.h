// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/ListenerSource.h"
#include "CommandLine/WatchSession.h"
#include "CommandLine/WatchView.h"

#include <functional>
#include <memory>
#include <system_error>

namespace Tarnwick {

/// Begins a session; null when the system does not let us, with the reason in errno.
using StartWatchSession = std::function<std::unique_ptr<WatchSession>(Presentation)>;

/// Shows the listeners until the user has seen enough. A look that fails is taken again at the next
/// tick.
class WatchCommand
{
public:
    WatchCommand(WatchArguments arguments, const Console &console, ListenerSource &source,
                 StartWatchSession start);

    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] Presentation presentation() const;
    [[nodiscard]] std::unique_ptr<WatchView> view(Presentation presentation,
                                                  const std::string &nothingFound) const;
    [[nodiscard]] std::error_code watch(WatchSession &session, Presentation presentation);

    WatchArguments m_arguments;
    const Console &m_console;
    ListenerSource &m_source;
    StartWatchSession m_start;
};

} // namespace Tarnwick
