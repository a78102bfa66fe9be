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
    std::vector<ListenAddress> addresses;
    for (const PortSocket &socket : sockets) {
        addresses.push_back(socket.address);
    }
    return m_console.finish(EndpointText::url(addresses, port) + '\n', ExitCode::Done);
}

} // namespace Tarnwick
