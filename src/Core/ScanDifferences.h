// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/ListenerKey.h"
#include "Models/PortEntry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Tarnwick {

class PortRegistry;

/// One entry to be added to the registry or taken off it.
struct EntryChange
{
    enum class Kind : std::uint8_t { Opened, Closed };

    Kind kind;
    SharedPortEntry entry;

    void applyTo(PortRegistry &registry) const;
};

/// What changes from one scan to the next, and what the registry holds by now. Calls of the engine
/// that overlap apply their changes in turns, so that a change may come after a later one that it
/// would have had to precede: the last of them finds out what that left wrong. One thread.
class ScanDifferences
{
public:
    /// Begins a call with @p entries: the changes since the scan that was begun before, additions
    /// before removals. An entry that stays keeps the object that it had, so that the new one takes
    /// no memory; of equal entries the first counts.
    [[nodiscard]] std::vector<EntryChange> begin(const std::vector<SharedPortEntry> &entries);

    /// Notes that @p change has reached the registry.
    void made(const EntryChange &change);

    /// For a call whose changes have been made: what is still to be changed. Nothing while other
    /// calls go on, or where none has overlapped with another. A row whose entry has the right name
    /// stays as it is; one that has another name is closed, then opened.
    [[nodiscard]] std::vector<EntryChange> repairs();

    void end() { --m_callsInFlight; }

private:
    struct HashOfEntry
    {
        std::size_t operator()(const SharedPortEntry &entry) const noexcept
        {
            return std::hash<PortEntry>{}(*entry);
        }
    };

    struct EqualEntries
    {
        bool operator()(const SharedPortEntry &left, const SharedPortEntry &right) const
        {
            return *left == *right;
        }
    };
    using EntrySet = std::unordered_set<SharedPortEntry, HashOfEntry, EqualEntries>;

    /// The rows of a registry, each with the entry that was opened for it.
    using Rows = std::unordered_map<ListenerKey, SharedPortEntry>;

    static void apply(const EntryChange &change, Rows &rows);

    EntrySet m_previous; ///< of the scan that was begun last
    /// What the registry would hold if each call were applied whole before the next. A listener of
    /// `m_previous` that was renamed has no row there: the new entry was ignored for the row that
    /// was there, and the removal of the old one took that row.
    Rows m_wanted;
    Rows m_shown; ///< what the registry holds after the changes that were made so far
    std::size_t m_callsInFlight = 0;
    bool m_haveOverlapped = false; ///< and what that left wrong is not made good yet
};

} // namespace Tarnwick
