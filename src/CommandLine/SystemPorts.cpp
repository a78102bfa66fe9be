// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SystemPorts.h"

namespace Tarnwick {

PortSockets::Result SystemPorts::sockets(std::int64_t port, PortSockets::Which which) const
{
    return PortSockets::on(static_cast<std::uint16_t>(port), which);
}

std::vector<std::int32_t> SystemPorts::holders(std::uint32_t inode) const
{
    return PortSockets::holders(inode);
}

PortBinding::Outcome SystemPorts::binding(std::int64_t port,
                                          std::span<const ListenAddress> addresses,
                                          PortBinding::ReuseAddress reuse) const
{
    return PortBinding::attempt(static_cast<std::uint16_t>(port), addresses, reuse);
}

} // namespace Tarnwick
