// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/UrlCommand.h"

#include "CommandLine/EndpointText.h"

#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

UrlCommand::UrlCommand(UrlArguments arguments, const Console &console, const PortProbe &ports)
    : m_arguments(arguments)
    , m_console(console)
    , m_ports(ports)
{
}

ExitCode UrlCommand::run()
{
    const std::int64_t port = m_arguments.port;
    const PortSockets::Result found = m_ports.sockets(port, PortSockets::Which::Listening);
    if (const auto *error = std::get_if<ListingError>(&found)) {
        m_console.sayError(error->message);
        return ExitCode::Failed;
    }
    const auto &sockets = std::get<std::vector<PortSocket>>(found);
    if (sockets.empty()) {
        m_console.say("Nothing listens on port " + std::to_string(port) + ".");
        return ExitCode::NothingDone;
    }
    // Of several addresses that of localhost, else the first one.
    std::string best;
    for (const PortSocket &socket : sockets) {
        const std::string url = EndpointText::url(socket.address, port);
        const bool isLocalhost = url.find("localhost") != url.npos;
        best = best.empty() || isLocalhost ? url : best;
    }
    return m_console.finish(best + '\n', ExitCode::Done);
}

} // namespace Tarnwick
