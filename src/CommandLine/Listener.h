// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"
#include "Shared/RawPortInfo.h"

#include <vector>

namespace Tarnwick {

/// One listening socket, as it was reported and as it is shown.
struct Listener
{
    RawPortInfo record;
    PortEntry entry;
};

/// The order of every output: by port, then process identifier, then name.
[[nodiscard]] bool comesBefore(const Listener &left, const Listener &right);

/// The listeners that @p records tell of, classified and in order.
[[nodiscard]] std::vector<Listener> listenersFrom(std::vector<RawPortInfo> records);

/// Keeps the first of equal entries: a server on both IP families has a socket for each. The
/// listeners must be in order.
void mergeEqual(std::vector<Listener> &listeners);

} // namespace Tarnwick
