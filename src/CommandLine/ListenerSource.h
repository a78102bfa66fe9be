// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "Shared/TierRules.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Tarnwick {

/// Where the commands get the listening sockets from.
class ListenerSource
{
public:
    ListenerSource() = default;
    virtual ~ListenerSource() = default;
    ListenerSource(const ListenerSource &) = delete;
    ListenerSource &operator=(const ListenerSource &) = delete;

    /// As ListenerInventory::list() promises.
    [[nodiscard]] virtual Listing list() = 0;

    /// The identities of the sockets in the latest listing, as ScanResult::sockets has them.
    [[nodiscard]] virtual std::vector<std::uint64_t> sockets() const = 0;

    /// What is known beside the records of the latest listing, for each of them in their order.
    [[nodiscard]] virtual std::vector<ListenerDetails> details() const = 0;

    /// The rules for tiers that hold now, read again where their files have changed; never null.
    /// Without files, as here, there are none, and the built-in rules decide.
    [[nodiscard]] virtual SharedTierRules tierRules() { return std::make_shared<TierRules>(); }
};

} // namespace Tarnwick
