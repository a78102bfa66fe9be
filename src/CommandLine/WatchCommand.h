// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/ListenerFilter.h"
#include "CommandLine/ListenerSource.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/WatchSchedule.h"
#include "CommandLine/WatchSession.h"
#include "CommandLine/WatchView.h"

#include <functional>
#include <memory>
#include <system_error>

namespace Tarnwick {

/// Begins a session; null when the system does not allow it, with the reason in errno.
using StartWatchSession = std::function<std::unique_ptr<WatchSession>(Presentation)>;

/// Shows the listeners until the user or a signal ends it. It scans when the session reports a
/// change, and now and then for what changes without one. A scan that fails is made again.
class WatchCommand
{
public:
    WatchCommand(WatchArguments arguments, const Console &console, ListenerSource &source,
                 ProcessEnder &ender, StartWatchSession start);

    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] Presentation presentation() const;
    [[nodiscard]] std::unique_ptr<WatchView> view(Presentation presentation,
                                                  const std::string &nothingFound) const;
    [[nodiscard]] std::error_code watch(WatchSession &session, WatchView &view,
                                        const ListenerFilter &filter);
    [[nodiscard]] static bool press(WatchSession &session, WatchView &view);
    [[nodiscard]] std::error_code scan(WatchView &view, const ListenerFilter &filter);

    WatchArguments m_arguments;
    const Console &m_console;
    ListenerSource &m_source;
    ProcessEnder &m_ender;
    StartWatchSession m_start;
    WatchSchedule m_schedule;
};

} // namespace Tarnwick
