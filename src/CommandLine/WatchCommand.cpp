// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchCommand.h"

#include "CommandLine/ListenerFilter.h"
#include "CommandLine/WatchLines.h"
#include "CommandLine/WatchScreen.h"

#include <cerrno>
#include <string>
#include <utility>

namespace Tarnwick {

namespace {

std::error_code look(ListenerSource &source, const ListenerFilter &filter, WatchView &view)
{
    Listing listing = source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        return view.showFailure(error->message);
    }
    auto listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                   source.sockets(), source.details(), *source.tierRules());
    filter.apply(listeners);
    mergeEqual(listeners);
    return view.show(std::move(listeners));
}

/// Whether the watch can go on; an interrupted write is explained by the event that comes next.
bool isHeard(const std::error_code &error)
{
    return !error || error == std::errc::interrupted;
}

} // namespace

WatchCommand::WatchCommand(WatchArguments arguments, const Console &console, ListenerSource &source,
                           StartWatchSession start)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_source(source)
    , m_start(std::move(start))
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
    const std::error_code error = watch(*session, presentation);
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
        return std::make_unique<WatchScreen>(m_console, nothingFound);
    }
    using Format = WatchLines::Format;
    return std::make_unique<WatchLines>(m_console, m_arguments.json ? Format::Json : Format::Text);
}

std::error_code WatchCommand::watch(WatchSession &session, Presentation presentation)
{
    const ListenerFilter filter(m_arguments.selection, m_console.environment.home);
    const std::unique_ptr<WatchView> view = this->view(presentation, filter.nothingFound());

    WatchEvent event = WatchEvent::Tick;
    auto deadline = std::chrono::steady_clock::now();
    while (event == WatchEvent::Tick || event == WatchEvent::Redraw) {
        std::error_code error;
        if (event == WatchEvent::Tick) {
            error = look(m_source, filter, *view);
            deadline = std::chrono::steady_clock::now() + m_arguments.interval;
        } else {
            error = view->redraw();
        }
        if (!isHeard(error)) {
            return error;
        }
        event = session.await(deadline);
    }
    return {};
}

} // namespace Tarnwick
