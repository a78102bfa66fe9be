// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// How messages name ports and their owners.
class OwnerText
{
public:
    OwnerText() = delete;

    /// "port 80", "ports 80 and 443", "ports 80, 443 and 8080".
    [[nodiscard]] static std::string ports(const std::vector<std::int64_t> &ports);

    /// "node (pid 4711)", fit for a terminal; "sshd.service (unknown owner)" where there is no
    /// process.
    [[nodiscard]] static std::string process(const PortEntry &owner);
};

} // namespace Tarnwick
