// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace Tarnwick {

/// An entry of its own identity, as each scan makes one.
inline SharedPortEntry sampleEntry(std::string process, std::int64_t pid, std::int64_t port,
                                   PortTier tier = PortTier::Dev)
{
    PortEntry entry;
    entry.id = Uuid::random();
    entry.port = port;
    entry.pid = pid;
    entry.process = std::move(process);
    entry.description = entry.process;
    entry.tier = tier;
    return std::make_shared<const PortEntry>(std::move(entry));
}

} // namespace Tarnwick
