// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/ListChange.h"

#include <algorithm>

namespace Tarnwick {

namespace {

using Entries = std::span<const SharedPortEntry>;

/// Whether @p entry is among the first of @p entries, those that have its port.
bool leadsTo(Entries entries, const PortEntry &entry)
{
    for (const SharedPortEntry &candidate : entries) {
        if (candidate->port != entry.port) {
            return false;
        }
        if (candidate->id == entry.id) {
            return true;
        }
    }
    return false;
}

/// What is next where the two lists differ.
ListChange::Kind nextKind(Entries before, Entries after)
{
    using Kind = ListChange::Kind;
    if (before.empty()) {
        return Kind::Insertion;
    }
    if (after.empty() || before.front()->port < after.front()->port) {
        return Kind::Removal;
    }
    return leadsTo(before, *after.front()) ? Kind::Removal : Kind::Insertion;
}

void append(std::vector<ListChange> &changes, const ListChange &step)
{
    if (!changes.empty()) {
        ListChange &last = changes.back();
        const bool continues =
            last.kind == step.kind &&
            (step.kind == ListChange::Kind::Removal
                 ? last.row + last.count == step.row
                 : last.row == step.row && last.source + last.count == step.source);
        if (continues) {
            ++last.count;
            return;
        }
    }
    changes.push_back(step);
}

/// A part of the old list, and the part of the new one that takes its place.
struct Replacement
{
    std::size_t firstRow;
    std::size_t firstSource;
    std::size_t endRow;
    std::size_t endSource;

    explicit Replacement(const ListChange &change)
        : firstRow(change.row)
        , firstSource(change.source)
        , endRow(change.row)
        , endSource(change.source)
    {
        extendBy(change);
    }

    void extendBy(const ListChange &change)
    {
        const bool removes = change.kind == ListChange::Kind::Removal;
        endRow = change.row + (removes ? change.count : 0);
        endSource = change.source + (removes ? 0 : change.count);
    }
};

void append(std::vector<ListChange> &changes, const Replacement &part)
{
    if (part.endRow > part.firstRow) {
        changes.push_back({ListChange::Kind::Removal, part.firstRow, part.firstSource,
                           part.endRow - part.firstRow});
    }
    if (part.endSource > part.firstSource) {
        changes.push_back({ListChange::Kind::Insertion, part.endRow, part.firstSource,
                           part.endSource - part.firstSource});
    }
}

} // namespace

std::vector<ListChange> ListChange::between(Entries before, Entries after)
{
    std::vector<ListChange> changes;
    std::size_t row = 0;
    std::size_t source = 0;
    while (row < before.size() || source < after.size()) {
        if (row < before.size() && source < after.size() && before[row]->id == after[source]->id) {
            ++row;
            ++source;
            continue;
        }
        const Kind kind = nextKind(before.subspan(row), after.subspan(source));
        append(changes, {kind, row, source, 1});
        ++(kind == Kind::Removal ? row : source);
    }
    return changes;
}

std::vector<ListChange> ListChange::merged(std::span<const ListChange> changes,
                                           std::span<const std::size_t> kept)
{
    std::vector<ListChange> result;
    if (changes.empty()) {
        return result;
    }
    Replacement part(changes.front());
    for (const ListChange &change : changes.subspan(1)) {
        const auto next = std::ranges::lower_bound(kept, part.endRow);
        if (next == kept.end() || *next >= change.row) {
            part.extendBy(change);
            continue;
        }
        append(result, part);
        part = Replacement(change);
    }
    append(result, part);
    return result;
}

} // namespace Tarnwick
