// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/PortBinding.h"
#include "Helper/PortSockets.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarnwick {

/// Where the commands find out about one port what no listing has.
class PortProbe
{
public:
    PortProbe() = default;
    virtual ~PortProbe() = default;
    PortProbe(const PortProbe &) = delete;
    PortProbe &operator=(const PortProbe &) = delete;

    /// As PortSockets::on().
    [[nodiscard]] virtual PortSockets::Result sockets(std::int64_t port,
                                                      PortSockets::Which which) const = 0;

    /// As PortSockets::holders().
    [[nodiscard]] virtual std::vector<std::int32_t> holders(std::uint32_t inode) const = 0;

    /// As PortBinding::attempt().
    [[nodiscard]] virtual PortBinding::Outcome
    binding(std::int64_t port, std::span<const ListenAddress> addresses,
            PortBinding::ReuseAddress reuse = PortBinding::ReuseAddress::Yes) const = 0;
};

} // namespace Tarnwick
