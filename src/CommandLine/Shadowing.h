// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerDetails.h"
#include "Shared/RawPortInfo.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// That connections to one name or address of a port reach another server than the one that
/// listens there as well.
struct Shadow
{
    std::string target{}; ///< what a client connects to: "localhost", or an address
    std::int64_t pid = 0; ///< of the server that gets the connections; 0 when unknown
    std::string processName{};
    std::string address{}; ///< at which that server listens, as AddressText has it

    friend bool operator==(const Shadow &, const Shadow &) = default;
};

/// Finds the servers whose connections another server on the same port gets.
///
/// The kernel passes a connection to the socket that is bound to its address, else to one that is
/// bound to every address; of IPv4, "0.0.0.0" before a "::" that takes both families
/// (__inet_lookup_listener of the kernel's net/ipv4/inet_hashtables.c). Two servers on one port
/// listen on different addresses that do not overlap, or share the port by SO_REUSEPORT
/// (socket(7)). "localhost" is ::1 first, and 127.0.0.1 where nobody listens there (RFC 6724,
/// section 2.1; RFC 6761, section 6.3). Servers at the same address share its connections, and
/// nothing is said of that.
class Shadowing
{
public:
    Shadowing() = delete;

    struct Socket
    {
        const RawPortInfo *record = nullptr;
        const ListenerDetails *details = nullptr;
    };

    /// What hides each of @p sockets, which are all that listen on one port, in their order.
    [[nodiscard]] static std::vector<std::vector<Shadow>> find(std::span<const Socket> sockets);
};

} // namespace Tarnwick
