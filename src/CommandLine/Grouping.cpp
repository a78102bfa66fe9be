// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Grouping.h"

#include "CommandLine/Columns.h"
#include "CommandLine/TerminalText.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Tarnwick {

namespace {

struct Named
{
    std::string_view name;
    Grouping grouping;
};

constexpr std::array groupings{
    Named{"project", Grouping::Project},     Named{"tier", Grouping::Tier},
    Named{"user", Grouping::User},           Named{"unit", Grouping::Unit},
    Named{"container", Grouping::Container},
};

/// What the members of a group have in common; empty for what belongs to none.
std::string key(Grouping grouping, const Listener &listener)
{
    switch (grouping) {
    case Grouping::Project:
        return listener.project ? listener.project->folder : std::string();
    case Grouping::Tier:
        return std::string(rawValue(listener.entry.tier));
    case Grouping::User:
        return listener.details.user;
    case Grouping::Unit:
        return listener.details.unit;
    case Grouping::Container:
        return Columns::text(Column::Container, listener, {.now = {}, .home = {}});
    case Grouping::None:
        break;
    }
    return {};
}

} // namespace

std::optional<Grouping> GroupedListeners::groupingFrom(std::string_view name)
{
    const auto *const found =
        std::find_if(groupings.begin(), groupings.end(),
                     [name](const Named &known) { return known.name == name; });
    return found == groupings.end() ? std::nullopt : std::optional(found->grouping);
}

std::string GroupedListeners::heading(Grouping grouping, const Listener &listener,
                                      std::string_view home)
{
    std::string text = key(grouping, listener);
    if (text.empty()) {
        return "other";
    }
    if (grouping == Grouping::Project) {
        const std::string &branch = listener.project->branch;
        text = EntryText::replacingHomePrefix(text, home);
        text += branch.empty() ? "" : " (" + branch + ")";
    }
    return TerminalText::printable(text);
}

void GroupedListeners::sort(std::vector<Listener> &listeners, Grouping grouping)
{
    std::stable_sort(listeners.begin(), listeners.end(),
                     [grouping](const Listener &left, const Listener &right) {
                         if (grouping == Grouping::Tier) {
                             return left.entry.tier < right.entry.tier;
                         }
                         const std::string one = key(grouping, left);
                         const std::string other = key(grouping, right);
                         return std::pair(one.empty(), std::string_view(one)) <
                                std::pair(other.empty(), std::string_view(other));
                     });
}

} // namespace Tarnwick
