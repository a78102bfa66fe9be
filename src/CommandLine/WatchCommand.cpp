// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchCommand.h"

#include "CommandLine/WatchLines.h"
#include "CommandLine/WatchScreen.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

namespace Tarnwick {

namespace {

/// Whether the watch goes on; an interrupted write is explained by the event that comes next.
bool canGoOn(const std::error_code &error)
{
    return !error || error == std::errc::interrupted;
}

} // namespace

WatchCommand::WatchCommand(WatchArguments arguments, const Console &console, ListenerSource &source,
                           ProcessEnder &ender, StartWatchSession start)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_source(source)
    , m_ender(ender)
    , m_start(std::move(start))
    , m_schedule(m_arguments.interval)
{
}

ExitCode WatchCommand::run()
{
    const Presentation presentation = this->presentation();
    // Refused files are reported while the terminal has its own screen.
    static_cast<void>(m_source.tierRules());
    std::unique_ptr<WatchSession> session = m_start(presentation);
    if (!session) {
        m_console.sayError("Cannot watch: " + std::generic_category().message(errno));
        return ExitCode::Failed;
    }
    const ListenerFilter filter(m_arguments.selection, m_console.environment.home);
    const std::unique_ptr<WatchView> view = this->view(presentation, filter.nothingFound());
    const std::error_code error = watch(*session, *view, filter);
    // A message is seen only after the terminal has its own screen again.
    session.reset();
    return m_console.concluded(error, ExitCode::Done);
}

Presentation WatchCommand::presentation() const
{
    const bool canMoveTheCursor =
        m_console.output.terminal().isTerminal && !m_console.environment.hasPlainTerminal();
    return canMoveTheCursor && !m_arguments.json ? Presentation::InPlace : Presentation::Lines;
}

std::unique_ptr<WatchView> WatchCommand::view(Presentation presentation,
                                              const std::string &nothingFound) const
{
    if (presentation == Presentation::InPlace) {
        return std::make_unique<WatchScreen>(m_console, m_ender, nothingFound);
    }
    using Format = WatchLines::Format;
    return std::make_unique<WatchLines>(m_console, m_arguments.json ? Format::Json : Format::Text);
}

std::error_code WatchCommand::watch(WatchSession &session, WatchView &view,
                                    const ListenerFilter &filter)
{
    WatchEvent event = WatchEvent::Deadline;
    while (event != WatchEvent::Quit && event != WatchEvent::OutputClosed) {
        if (event == WatchEvent::Changed) {
            m_schedule.noteChange();
        }
        if (event == WatchEvent::KeyPressed && !press(session, view)) {
            break;
        }
        view.advance();
        const bool isScanDue = m_schedule.isScanDue();
        if (const std::error_code error = isScanDue ? scan(view, filter) : view.redraw();
            !canGoOn(error)) {
            return error;
        }
        event = session.await(std::min(m_schedule.nextScan(), view.deadline()), view.descriptor());
    }
    return {};
}

/// Whether the watch goes on.
bool WatchCommand::press(WatchSession &session, WatchView &view)
{
    const WatchView::KeyResult result = view.press(session.takeKey());
    if (result == WatchView::KeyResult::DiscardKeys) {
        session.discardKeys();
    }
    return result != WatchView::KeyResult::Quit;
}

std::error_code WatchCommand::scan(WatchView &view, const ListenerFilter &filter)
{
    const WatchSchedule::Scan scan(m_schedule);
    Listing listing = m_source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        return view.showFailure(error->message);
    }
    auto listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                   m_source.sockets(), m_source.details(), *m_source.tierRules());
    filter.apply(listeners);
    mergeEqual(listeners);
    return view.show(std::move(listeners));
}

} // namespace Tarnwick
