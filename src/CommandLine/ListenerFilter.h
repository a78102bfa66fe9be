// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "CommandLine/Selection.h"
#include "Shared/PortSearch.h"

#include <deque>
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

    /// Whether @p entry, which has these @p details, is among what was selected.
    [[nodiscard]] bool matches(const PortEntry &entry, const ListenerDetails &details) const;

    /// What to tell the user when nothing is left.
    [[nodiscard]] std::string nothingFound() const;

private:
    [[nodiscard]] bool isOfUser(const ListenerDetails &details) const;
    [[nodiscard]] bool isOnPort(std::int64_t port) const;
    [[nodiscard]] bool find(const PortSearch &search, const PortEntry &entry) const;

    Selection m_selection;
    std::string m_home;
    std::optional<PortSearch> m_search;
    std::deque<PortSearch> m_excluded; ///< which cannot be moved
};

} // namespace Tarnwick
