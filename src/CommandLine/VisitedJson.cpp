// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/VisitedJson.h"

#include "CommandLine/Shadowing.h"
#include "Shared/PortScanner.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Tarnwick {

VisitedJson::VisitedJson(ListenerSource &source, const ListenerFilter &filter, TextOutput &output)
    : m_source(source)
    , m_filter(filter)
    , m_listing(output)
{
}

/// Takes the rules with the first listener: until then they are read beside the visit.
void VisitedJson::takeRules()
{
    if (m_rules) {
        return;
    }
    m_rules = m_source.tierRules();
    for (const TierRule &rule : m_rules->rules()) {
        m_portsOfRules.insert(m_portsOfRules.end(), rule.ports.begin(), rule.ports.end());
    }
}

void VisitedJson::add(std::span<const VisitedListener> onePort)
{
    if (m_listing.hasFailed()) {
        return;
    }
    takeRules();
    if (onePort.size() == 1) {
        add(onePort.front(), {});
        return;
    }
    std::vector<Shadowing::Socket> sockets;
    sockets.reserve(onePort.size());
    for (const VisitedListener &listener : onePort) {
        sockets.push_back({listener.record, listener.details});
    }
    const std::vector<std::vector<Shadow>> shadows = Shadowing::find(sockets);
    for (std::size_t index = 0; index < onePort.size(); ++index) {
        add(onePort[index], shadows[index]);
    }
}

std::error_code VisitedJson::finish()
{
    takeRules(); // so that a refused file is reported although nothing listens
    return m_listing.finish();
}

void VisitedJson::add(const VisitedListener &listener, std::span<const Shadow> shadows)
{
    Owner &owner = ownerOf(listener);
    if (m_filter.matches(owner.entry, *listener.details)) {
        write(owner, listener, shadows);
    }
}

void VisitedJson::write(Owner &owner, const VisitedListener &listener,
                        std::span<const Shadow> shadows)
{
    const RawPortInfo &record = *listener.record;
    if (!owner.json) {
        const auto pid = static_cast<std::int32_t>(record.pid);
        const bool isKnown = pid != 0;
        const std::optional<Project> project =
            isKnown ? m_source.project(pid, record.cwd) : std::nullopt;
        const std::vector<Ancestor> ancestors =
            isKnown ? m_source.listedAncestors(pid) : std::vector<Ancestor>();
        owner.json = std::make_unique<JsonOwner>(record, owner.entry.tier, owner.entry.description,
                                                 ancestors, project ? &*project : nullptr);
    }
    m_listing.add(*owner.json, record.port, *listener.details, shadows);
}

VisitedJson::Owner VisitedJson::ownerFrom(const RawPortInfo &record) const
{
    return {.entry = std::move(PortScanner::entries({&record, 1}, *m_rules).front())};
}

bool VisitedJson::isPortOfRule(std::int64_t port) const
{
    return std::any_of(
        m_portsOfRules.begin(), m_portsOfRules.end(),
        [port](const PortRange &range) { return port >= range.first && port <= range.last; });
}

VisitedJson::Owner &VisitedJson::ownerOf(const VisitedListener &listener)
{
    const RawPortInfo &record = *listener.record;
    if (listener.owner == 0 || isPortOfRule(record.port)) {
        m_single = ownerFrom(record);
        return m_single;
    }
    if (m_owners.size() < listener.owner) {
        m_owners.resize(listener.owner);
    }
    std::unique_ptr<Owner> &owner = m_owners[listener.owner - 1];
    if (!owner) {
        owner = std::make_unique<Owner>(ownerFrom(record));
    }
    owner->entry.port = record.port;
    return *owner;
}

} // namespace Tarnwick
