// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WaitCommand.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <variant>

namespace Tarnwick {

WaitCommand::WaitCommand(WaitArguments arguments, const Console &console, const PortProbe &ports)
    : WaitCommand(std::move(arguments), console, ports, Pace{})
{
}

WaitCommand::WaitCommand(WaitArguments arguments, const Console &console, const PortProbe &ports,
                         Pace pace)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_ports(ports)
    , m_pace(pace)
{
}

ExitCode WaitCommand::run()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    for (std::chrono::milliseconds delay = m_pace.first;;
         delay = std::min(delay * 5 / 4 + std::chrono::milliseconds(1), m_pace.longest)) {
        const Check checked = check();
        if (const auto *error = std::get_if<ListingError>(&checked)) {
            m_console.sayError(error->message);
            return ExitCode::Failed;
        }
        const std::string &pending = std::get<std::string>(checked);
        if (pending.empty()) {
            return ExitCode::Done;
        }
        Clock::time_point next = Clock::now() + delay;
        if (m_arguments.timeout) {
            const Clock::time_point deadline = start + *m_arguments.timeout;
            if (Clock::now() >= deadline) {
                m_console.say(pending);
                return ExitCode::NothingDone;
            }
            next = std::min(next, deadline);
        }
        std::this_thread::sleep_until(next);
    }
}

/// The first port that is still waited for decides: the others are checked once it is no more.
WaitCommand::Check WaitCommand::check() const
{
    for (const std::int64_t port : m_arguments.ports) {
        Check checked = check(port);
        const auto *pending = std::get_if<std::string>(&checked);
        if (pending == nullptr || !pending->empty()) {
            return checked;
        }
    }
    return std::string();
}

WaitCommand::Check WaitCommand::check(std::int64_t port) const
{
    PortSockets::Result found = m_ports.sockets(port, PortSockets::Which::Listening);
    if (auto *error = std::get_if<ListingError>(&found)) {
        return std::move(*error);
    }
    const bool anyListens = !std::get<std::vector<PortSocket>>(found).empty();
    const std::string text = "port " + std::to_string(port);
    if (m_arguments.awaited == WaitArguments::Awaited::Listener) {
        return anyListens ? std::string() : "Nothing listens on " + text + ".";
    }
    if (anyListens) {
        return "Something listens on " + text + ".";
    }
    const bool isInUse =
        m_ports.binding(port, PortBinding::everyAddress()) == PortBinding::Outcome::InUse;
    return isInUse
               ? "Nothing listens on " + text + ", but it cannot be bound yet; 'tarnwickctl why " +
                     std::to_string(port) + "' says why."
               : std::string();
}

} // namespace Tarnwick
