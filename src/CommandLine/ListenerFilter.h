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

/// Applies a selection to listings. A search finds what PortSearch finds, and the command line, as
/// it is shown or with the home directory written out. Sets up the locale that a search needs only
/// when there is one.
class ListenerFilter
{
public:
    /// @p home is what command lines are shown with, see EntryText.
    ListenerFilter(Selection selection, std::string home);

    void apply(std::vector<Listener> &listeners) const;

    /// What to tell the user when nothing is left.
    [[nodiscard]] std::string nothingFound() const;

private:
    [[nodiscard]] bool matches(const PortEntry &entry) const;
    [[nodiscard]] bool isFound(const PortEntry &entry) const;

    Selection m_selection;
    std::string m_home;
    std::optional<PortSearch> m_search;
};

} // namespace Tarnwick
