// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <chrono>

namespace Tarnwick {

/// A record in which every field has a value that no other field has.
inline RawPortInfo sampleRecord()
{
    return {
        .pid = 42,
        .port = 3000,
        .processName = "node",
        .commandPath = "/usr/local/bin/node",
        .cwd = "/home/ann/site",
        .arguments = {"node", "server.js"},
        .originArguments = {"npm", "run", "dev"},
        .processStartedAt = Timestamp(std::chrono::seconds(1'714'555'800)),
        .memoryBytes = 46'500'000,
    };
}

} // namespace Tarnwick
