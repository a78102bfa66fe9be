// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/PortEntry.h"

#include "Models/HashCombine.h"

namespace Tarnwick {

bool operator==(const PortEntry &left, const PortEntry &right)
{
    return left.pid == right.pid && left.port == right.port && left.process == right.process;
}

} // namespace Tarnwick

std::size_t
std::hash<Tarnwick::PortEntry>::operator()(const Tarnwick::PortEntry &entry) const noexcept
{
    std::size_t seed = 0;
    Tarnwick::hashCombine(seed, entry.pid);
    Tarnwick::hashCombine(seed, entry.port);
    Tarnwick::hashCombine(seed, entry.process);
    return seed;
}
