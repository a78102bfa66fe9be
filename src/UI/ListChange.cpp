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

} // namespace Tarnwick
