// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <cstddef>
#include <span>
#include <vector>

namespace Tarnwick {

/// One step on the way from one list of entries to another: a run of neighbours that go or come.
struct ListChange
{
    enum class Kind { Removal, Insertion };

    Kind kind;
    std::size_t row; ///< of the old list: the first that goes, or the one that the new come before
    std::size_t source; ///< of the new list: the first that comes
    std::size_t count;

    /// The changes that make @p before, entries in the order of their ports, into @p after, which
    /// is in that order too: as few as there can be, as long as entries of one port keep their
    /// order. They are in the order of the rows. Takes time that grows with the length of the two.
    [[nodiscard]] static std::vector<ListChange> between(std::span<const SharedPortEntry> before,
                                                         std::span<const SharedPortEntry> after);

    /// Fewer changes with the same end as @p changes, which between() made: those between which
    /// none of @p kept stays, rows of the old list in their order, are one removal and one
    /// insertion, of what stays between them too.
    [[nodiscard]] static std::vector<ListChange> merged(std::span<const ListChange> changes,
                                                        std::span<const std::size_t> kept);
};

} // namespace Tarnwick
