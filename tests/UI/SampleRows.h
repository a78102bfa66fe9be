// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/SampleEntry.h"

#include <string>
#include <vector>

namespace Tarnwick {

using Entries = std::vector<SharedPortEntry>;

/// The processes of @p entries.
inline std::vector<std::string> names(const Entries &entries)
{
    std::vector<std::string> result;
    for (const SharedPortEntry &entry : entries) {
        result.push_back(entry->process);
    }
    return result;
}

/// @p count entries on as many ports, in their order.
inline Entries manyEntries(int count)
{
    Entries entries;
    for (int i = 0; i < count; ++i) {
        entries.push_back(sampleEntry("worker-" + std::to_string(i), 1'000 + i, 10'000 + i));
    }
    return entries;
}

} // namespace Tarnwick
