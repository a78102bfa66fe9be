// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Shadowing.h"
#include "Helper/ListenerDetails.h"
#include "Helper/ProcessAncestry.h"
#include "Helper/ProjectFinder.h"
#include "Models/PortEntry.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRules.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// One listening socket, as it was reported and as it is shown.
struct Listener
{
    RawPortInfo record;
    PortEntry entry;
    std::uint64_t socket = 0; ///< its identity, as ListenerSource::sockets() has it; 0 if not given
    ListenerDetails details{}; ///< as ListenerSource::details() has them; empty if not given
    std::vector<ListenerDetails> otherSockets{}; ///< of the same server, after mergeEqual()
    std::vector<Shadow> shadows{};               ///< after noteShadows()
    std::vector<Ancestor> ancestors{};           ///< where they are wanted
    std::optional<Project> project{};            ///< where it is wanted and there is one
    std::string host{};                          ///< the machine; empty for this one
};

/// The order of every output: by port, then process identifier, then name.
[[nodiscard]] bool comesBefore(const Listener &left, const Listener &right);

/// The listeners that @p records tell of, classified and in order. @p sockets are the identities of
/// their sockets in the order of the records, or empty; so are the @p details.
/// @p rules give the tiers before the built-in ones do.
[[nodiscard]] std::vector<Listener> listenersFrom(std::vector<RawPortInfo> records,
                                                  std::span<const std::uint64_t> sockets = {},
                                                  std::vector<ListenerDetails> details = {},
                                                  const TierRules &rules = {});

/// Finds out which of @p listeners, which are in order and all that there are, get no connections
/// to an address of theirs.
void noteShadows(std::vector<Listener> &listeners);

/// Makes one listener of those of one process on one port, and of one user where the process is
/// unknown: the first of them, with the sockets of the others. A server on both IP families has a
/// socket for each. The listeners must be in order.
void mergeEqual(std::vector<Listener> &listeners);

} // namespace Tarnwick
