// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/HashCombine.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Tarnwick {

/// What identifies a listener in the application's state, whatever its process is called.
struct ListenerKey
{
    std::int64_t pid = 0;
    std::int64_t port = 0;

    friend bool operator==(const ListenerKey &, const ListenerKey &) = default;
};

} // namespace Tarnwick

template<>
struct std::hash<Tarnwick::ListenerKey>
{
    std::size_t operator()(const Tarnwick::ListenerKey &key) const noexcept
    {
        std::size_t seed = 0;
        Tarnwick::hashCombine(seed, key.pid);
        Tarnwick::hashCombine(seed, key.port);
        return seed;
    }
};
