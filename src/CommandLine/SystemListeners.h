// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/ListenerSource.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/ServerProcesses.h"
#include "Helper/ListenerInventory.h"
#include "Shared/TierRuleFiles.h"

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// The listeners of this machine, and the way to stop them: one inventory for both, so that
/// stopping finds remembered who listens.
class SystemListeners : public ListenerSource, public ProcessEnder, public ServerProcesses
{
public:
    /// @p report is called by tierRules() for each file that is refused (TierRuleFiles).
    explicit SystemListeners(TierRuleFiles::Report report);

    [[nodiscard]] Listing list() override;
    [[nodiscard]] std::vector<std::uint64_t> sockets() const override { return m_sockets; }
    [[nodiscard]] std::vector<ListenerDetails> details() const override { return m_details; }
    [[nodiscard]] std::optional<ListingError> visit(const PortVisitor &visitor) override;
    [[nodiscard]] std::vector<Ancestor> listedAncestors(std::int32_t pid) override;
    [[nodiscard]] std::optional<Project> project(std::int32_t pid,
                                                 const std::string &folder) override;
    [[nodiscard]] SharedTierRules tierRules() override;
    [[nodiscard]] std::optional<ProcessIdentity> identity(std::int32_t pid) const override;
    [[nodiscard]] KillAnswer end(const ProcessIdentity &process) override;
    [[nodiscard]] StartedEnd startEnd(const ProcessIdentity &process) override;
    [[nodiscard]] std::string protection(std::int32_t pid) const override;
    [[nodiscard]] std::optional<Forwarding> forwarding(std::int32_t pid) const override;
    [[nodiscard]] std::optional<Supervisor> supervisor(std::int32_t pid) const override;
    [[nodiscard]] std::optional<Supervisor>
    restarter(std::int32_t pid, std::span<const std::int32_t> former) const override;
    [[nodiscard]] std::vector<Ancestor> ancestors(std::int32_t pid) const override;

    [[nodiscard]] ProcessTree tree() const override { return ProcessTree::read(); }
    [[nodiscard]] std::int32_t self() const override;
    [[nodiscard]] std::vector<std::string> arguments(std::int32_t pid) const override;
    [[nodiscard]] LaunchRole role(std::int32_t pid) const override { return launchRoleOf(pid); }
    [[nodiscard]] bool sharesOutput(std::int32_t first, std::int32_t second) const override;
    [[nodiscard]] std::vector<KillAnswer>
    endRelated(std::span<const ProcessIdentity> processes) override;

private:
    void startReadingRules();
    void forgetSurroundings();

    ListenerInventory m_inventory;
    // Of the latest listing; null until something is wanted of them.
    std::unique_ptr<AncestryReader> m_ancestry;
    std::unique_ptr<ProjectFinder> m_projects;
    TierRuleFiles::Report m_report;
    std::vector<TierRuleProblem> m_problems; ///< to be reported
    std::optional<TierRuleFiles> m_tierRuleFiles;
    std::future<SharedTierRules> m_firstRules; ///< while they are read, beside the first scan
    std::vector<std::uint64_t> m_sockets;      ///< of the latest listing
    std::vector<ListenerDetails> m_details;    ///< the same
};

} // namespace Tarnwick
