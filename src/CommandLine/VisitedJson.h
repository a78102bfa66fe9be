// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/JsonListing.h"
#include "CommandLine/ListenerFilter.h"
#include "CommandLine/ListenerSource.h"
#include "Models/PortEntry.h"
#include "Shared/TierRules.h"

#include <cstdint>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

namespace Tarnwick {

/// Writes the JSON of a visit while it goes on. Of what the listeners of one process have in common
/// nothing is made twice.
class VisitedJson
{
public:
    /// All of these outlive it.
    VisitedJson(ListenerSource &source, const ListenerFilter &filter, TextOutput &output);

    /// Writes those of @p onePort, which is all that listens on a port, that the filter leaves.
    void add(std::span<const VisitedListener> onePort);

    [[nodiscard]] bool isEmpty() const { return m_listing.isEmpty(); }
    [[nodiscard]] std::error_code finish();

private:
    struct Owner
    {
        PortEntry entry;                   ///< with the port of the latest listener
        std::unique_ptr<JsonOwner> json{}; ///< made when the first of its listeners is written
    };

    void takeRules();
    void add(const VisitedListener &listener, std::span<const Shadow> shadows);
    void write(Owner &owner, const VisitedListener &listener, std::span<const Shadow> shadows);
    [[nodiscard]] Owner ownerFrom(const RawPortInfo &record) const;
    [[nodiscard]] bool isPortOfRule(std::int64_t port) const;
    [[nodiscard]] Owner &ownerOf(const VisitedListener &listener);

    ListenerSource &m_source;
    SharedTierRules m_rules;               ///< null before the first listener
    std::vector<PortRange> m_portsOfRules; ///< on which the tier may be another
    const ListenerFilter &m_filter;
    JsonListing m_listing;
    std::vector<std::unique_ptr<Owner>> m_owners; ///< by VisitedListener::owner
    Owner m_single{}; ///< that of the latest listener whose owner has no others like it
};

} // namespace Tarnwick
