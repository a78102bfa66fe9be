// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/PortBlockers.h"

#include "CommandLine/EndpointText.h"
#include "CommandLine/TerminalText.h"

#include <cstddef>
#include <variant>

namespace Tarnwick {

namespace {

using Outcome = PortBinding::Outcome;
using Reuse = PortBinding::ReuseAddress;
using State = PortSocket::State;

} // namespace

std::vector<PortBlocker> PortBlockers::find(std::int64_t port) const
{
    const std::vector<ListenAddress> everywhere = PortBinding::everyAddress();
    if (m_ports.binding(port, everywhere, Reuse::No) != Outcome::InUse) {
        return {};
    }
    const PortSockets::Result found = m_ports.sockets(port, PortSockets::Which::All);
    const auto *sockets = std::get_if<std::vector<PortSocket>>(&found);
    std::vector<PortBlocker> blockers;
    std::size_t closed = 0;
    for (const PortSocket &socket : sockets != nullptr ? *sockets : std::vector<PortSocket>()) {
        if (socket.state == State::Listening) {
            continue;
        }
        if (socket.state == State::TimeWait) {
            ++closed;
            continue;
        }
        const std::vector<std::int32_t> holders = m_ports.holders(socket.inode);
        const std::string text =
            socket.state == State::Bound
                ? "bound to " + EndpointText::address(socket.address, port) + ", not listening"
                : "connection from " + EndpointText::address(socket.address, port) + " to " +
                      EndpointText::address(socket.peer, socket.peerPort);
        blockers.push_back({text + holdersText(holders), holders});
    }
    if (closed > 0) {
        blockers.push_back({std::to_string(closed) +
                                (closed == 1 ? " closed connection" : " closed connections") +
                                ", kept for up to 60 s (TIME_WAIT)",
                            {}});
    }
    if (blockers.empty()) {
        blockers.push_back({"a socket that the kernel does not list", {}});
    }
    return blockers;
}

bool PortBlockers::keepEverybodyOut(std::int64_t port) const
{
    return m_ports.binding(port, PortBinding::everyAddress(), Reuse::Yes) == Outcome::InUse;
}

std::string PortBlockers::summary(std::int64_t port, const std::vector<PortBlocker> &blockers) const
{
    const std::string text = std::to_string(port);
    if (blockers.empty()) {
        return "Port " + text + " can be bound.";
    }
    if (keepEverybodyOut(port)) {
        return "Port " + text + " cannot be bound yet; 'tarnwickctl wait --free " + text +
               "' waits until it can.";
    }
    return "Port " + text + " can be bound by a server that sets SO_REUSEADDR, and by no other.";
}

/// ", held by node (pid 4711)".
std::string PortBlockers::holdersText(const std::vector<std::int32_t> &pids) const
{
    if (pids.empty()) {
        return ", held by no process that can be seen";
    }
    std::string text = ", held by ";
    const ProcessTree tree = m_processes.tree();
    for (const std::int32_t pid : pids) {
        const TreeProcess *const process = tree.find(pid);
        text += (pid == pids.front() ? "" : ", ") +
                (process != nullptr ? TerminalText::printable(process->name) + " " : "") + "(pid " +
                std::to_string(pid) + ")";
    }
    return text;
}

} // namespace Tarnwick
