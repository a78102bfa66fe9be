// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/PortList.h"
#include "Core/PortRegistry.h"
#include "Models/PortEntry.h"
#include "Models/PortTier.h"

#include <QObject>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// What the interface shows: the known listeners, and how the user filters them. Observers are told
/// of every assignment to one of its four properties, before and after it, also when the new value
/// equals the old one. Main thread.
class AppState : public QObject, public PortRegistry
{
    Q_OBJECT

public:
    /// The choice of a tier, in the order in which it is offered. No choice shows only the tier
    /// `unknown`.
    enum class TierFilter : std::uint8_t { All, Dev, App, System };
    static constexpr std::array<TierFilter, 4> allTierFilters{TierFilter::All, TierFilter::Dev,
                                                              TierFilter::App, TierFilter::System};

    enum class Property : std::uint8_t { Ports, SelectedTier, SearchQuery, ShowSystemPorts };

    explicit AppState(QObject *parent = nullptr);

    /// The one state of the program, made with the first call.
    [[nodiscard]] static AppState &shared();

    /// Every known listener, in the order in which they were added.
    [[nodiscard]] const PortList &ports() const { return m_ports; }
    /// Takes @p ports as they are, equal ones included.
    void setPorts(const std::vector<SharedPortEntry> &ports);

    [[nodiscard]] TierFilter selectedTier() const { return m_selectedTier; }
    void setSelectedTier(TierFilter filter);

    /// What the user typed, in UTF-8.
    [[nodiscard]] const std::string &searchQuery() const { return m_searchQuery; }
    void setSearchQuery(std::string query);

    /// Whether entries of the tier `system` are shown when the filter is `All`.
    [[nodiscard]] bool showSystemPorts() const { return m_showSystemPorts; }
    void setShowSystemPorts(bool show);

    /// The ports that pass the filter and the search, by port; those of one port in the order in
    /// which they were added. Computed by every call.
    [[nodiscard]] std::vector<SharedPortEntry> filteredPorts() const;

    /// How many of all ports, filtered or not, each tier has; no key for a tier without. Computed
    /// by every call.
    [[nodiscard]] std::map<PortTier, int> tierCounts() const;

    /// A duplicate is ignored, and assigns nothing.
    void portOpened(SharedPortEntry entry) override;
    /// Always an assignment, also when nothing was there to remove.
    void portClosed(const PortEntry &entry) override;

Q_SIGNALS:
    /// Comes once before each assignment, when the property still has its old value.
    void willChange(Tarnwick::AppState::Property property);
    void portsChanged();
    void selectedTierChanged();
    void searchQueryChanged();
    void showSystemPortsChanged();

private:
    [[nodiscard]] bool passesFilter(PortTier tier) const;

    PortList m_ports;
    TierFilter m_selectedTier = TierFilter::All;
    std::string m_searchQuery;
    bool m_showSystemPorts = false;
};

/// The filter's text: "all", or that of the tier that it keeps.
[[nodiscard]] std::string_view rawValue(AppState::TierFilter filter);

} // namespace Tarnwick
