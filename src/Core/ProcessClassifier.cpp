// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/ProcessClassifier.h"

#include "Core/PathRule.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace Tarnwick {

namespace {

struct KnownService
{
    std::string_view processName;
    std::string_view desc;
    std::string_view settingsLink; ///< empty for none
};

/// Sorted by process name, in the order of the bytes, for a binary search; so is the next one.
constexpr std::array<KnownService, 8> systemDescriptions{{
    {"ControlCenter", "AirPlay Receiver", "AirDrop & Handoff"},
    {"cupsd", "Print Spooler", ""},
    {"identityservicesd", "iMessage / FaceTime", ""},
    {"nehelper", "Network Extension", ""},
    {"rapportd", "Handoff / Sidecar", ""},
    {"remoted", "Remote Management", ""},
    {"sharingd", "Sharing Services", "Sharing"},
    {"useractivityd", "Handoff", ""},
}};

constexpr std::array<KnownService, 18> devDescriptions{{
    {"beam.smp", "Erlang/Elixir", ""},
    {"bun", "Bun", ""},
    {"caddy", "Caddy", ""},
    {"deno", "Deno", ""},
    {"go", "Go", ""},
    {"httpd", "Apache", ""},
    {"java", "Java", ""},
    {"mongod", "MongoDB", ""},
    {"mysqld", "MySQL", ""},
    {"nginx", "Nginx", ""},
    {"node", "Node.js", ""},
    {"php", "PHP", ""},
    {"postgres", "PostgreSQL", ""},
    {"python", "Python", ""},
    {"python3", "Python", ""},
    {"redis-server", "Redis", ""},
    {"ruby", "Ruby", ""},
    {"valkey-server", "Valkey", ""},
}};

static_assert(std::ranges::is_sorted(systemDescriptions, {}, &KnownService::processName));
static_assert(std::ranges::is_sorted(devDescriptions, {}, &KnownService::processName));

/// The table that holds the services of @p tier; empty for the tiers without one.
constexpr std::span<const KnownService> descriptionsOf(PortTier tier)
{
    switch (tier) {
    case PortTier::System:
        return systemDescriptions;
    case PortTier::Dev:
        return devDescriptions;
    case PortTier::App:
    case PortTier::Unknown:
        break;
    }
    return {};
}

} // namespace

PortTier ProcessClassifier::tier(std::string_view path)
{
    const auto *const rule = std::ranges::find_if(
        pathRules, [path](const PathRule &candidate) { return candidate.matches(path); });
    return rule == pathRules.end() ? PortTier::Unknown : rule->tier;
}

ProcessClassifier::Description ProcessClassifier::describe(std::string_view processName,
                                                           PortTier tier)
{
    const std::span<const KnownService> services = descriptionsOf(tier);
    const auto service =
        std::ranges::lower_bound(services, processName, {}, &KnownService::processName);
    if (service == services.end() || service->processName != processName) {
        return {std::string(processName), std::nullopt};
    }
    if (service->settingsLink.empty()) {
        return {std::string(service->desc), std::nullopt};
    }
    return {std::string(service->desc), std::string(service->settingsLink)};
}

} // namespace Tarnwick
