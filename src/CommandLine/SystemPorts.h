// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/PortProbe.h"

namespace Tarnwick {

/// The ports of this machine.
class SystemPorts : public PortProbe
{
public:
    [[nodiscard]] PortSockets::Result sockets(std::int64_t port,
                                              PortSockets::Which which) const override;
    [[nodiscard]] std::vector<std::int32_t> holders(std::uint32_t inode) const override;
    [[nodiscard]] PortBinding::Outcome binding(std::int64_t port,
                                               std::span<const ListenAddress> addresses,
                                               PortBinding::ReuseAddress reuse) const override;
};

} // namespace Tarnwick
