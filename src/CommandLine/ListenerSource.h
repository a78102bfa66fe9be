// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "Helper/ProcessAncestry.h"
#include "Helper/ProjectFinder.h"
#include "Shared/TierRules.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
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

    /// As ListenerInventory::visit() promises; from a listing where a source has no other way. The
    /// listing before stays the latest.
    [[nodiscard]] virtual std::optional<ListingError> visit(const PortVisitor &visitor);

    /// The ancestors of a process in the latest listing or visit, as AncestryReader finds them.
    [[nodiscard]] virtual std::vector<Ancestor> listedAncestors(std::int32_t pid);

    /// Its project, as ProjectFinder finds it.
    [[nodiscard]] virtual std::optional<Project> project(std::int32_t pid,
                                                         const std::string &folder);
};

} // namespace Tarnwick
