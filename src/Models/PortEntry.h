// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"
#include "Models/Timestamp.h"
#include "Models/Uuid.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// One listening TCP port together with the process that owns it. A plain value, copied freely.
///
/// Equality and hash are narrow on purpose: they look at `pid`, `port` and `process` only, so that
/// the same listener is recognised in two scans although each scan builds it with a new `id` and a
/// new memory figure.
struct PortEntry
{
    Uuid id;               ///< fresh for each entry built; the identity of a rendered row
    std::int64_t port = 0; ///< the TCP port
    std::int64_t pid = 0;  ///< the owning process; 0 when the owner is unknown
    std::string process;   ///< the process's name
    std::string command;   ///< full path of its executable
    std::string cwd;       ///< its working directory
    std::vector<std::string> arguments;
    /// What the user typed, when that was another command; else a copy of `arguments`.
    std::vector<std::string> originArguments;
    std::uint64_t memoryBytes = 0;
    PortTier tier = PortTier::Unknown;
    std::string description; ///< a well-known service's name, else the process's
    /// The system settings pane in which the user can switch the service off, if there is one.
    std::optional<std::string> settingsLink;
    Timestamp openedAt; ///< when the owning process started

    friend bool operator==(const PortEntry &left, const PortEntry &right);
};

/// An entry that is finished, and from then on shared instead of copied. Never null. Any thread.
using SharedPortEntry = std::shared_ptr<const PortEntry>;

} // namespace Tarnwick

template<>
struct std::hash<Tarnwick::PortEntry>
{
    std::size_t operator()(const Tarnwick::PortEntry &entry) const noexcept;
};
