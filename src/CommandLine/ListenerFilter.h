// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "CommandLine/Selection.h"
#include "Shared/PortSearch.h"

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// Applies a selection to listings. Sets up the locale that a search needs only when there is one.
class ListenerFilter
{
public:
    explicit ListenerFilter(Selection selection);

    void apply(std::vector<Listener> &listeners) const;

    /// What to tell the user when nothing is left.
    [[nodiscard]] std::string nothingFound() const;

private:
    [[nodiscard]] bool matches(const PortEntry &entry) const;

    Selection m_selection;
    std::optional<PortSearch> m_search;
};

} // namespace Tarnwick
