// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerDetails.h"
#include "Models/PortEntry.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRules.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarnwick {

/// One listening socket, as it was reported and as it is shown.
struct Listener
{
    RawPortInfo record;
    PortEntry entry;
    std::uint64_t socket = 0; ///< its identity, as ListenerSource::sockets() has it; 0 if not given
    ListenerDetails details{}; ///< as ListenerSource::details() has them; empty if not given
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

/// Keeps the first of equal entries: a server on both IP families has a socket for each. The
/// listeners must be in order.
void mergeEqual(std::vector<Listener> &listeners);

} // namespace Tarnwick
