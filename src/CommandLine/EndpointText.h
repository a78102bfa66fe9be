// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenAddress.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Where a client reaches a listening socket, as text.
class EndpointText
{
public:
    EndpointText() = delete;

    /// "127.0.0.1:3000", "[::1]:3000"; "*:3000" for both IP families.
    [[nodiscard]] static std::string address(const ListenAddress &address, std::int64_t port);

    /// "http://localhost:3000" for a socket that this machine reaches by that name; else with the
    /// address. The scheme goes by the port alone: `https` for 443 and 8443.
    [[nodiscard]] static std::string url(const ListenAddress &address, std::int64_t port);
};

} // namespace Tarnwick
