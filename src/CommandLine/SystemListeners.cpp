// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SystemListeners.h"

#include "Helper/PortForwarder.h"
#include "Helper/ProcessTerminator.h"
#include "Helper/SessionGuard.h"

#include <system_error>
#include <utility>
#include <variant>

#include <unistd.h>

namespace Tarnwick {

namespace {

class PendingTermination : public PendingEnd
{
public:
    explicit PendingTermination(Termination termination)
        : m_termination(std::move(termination))
    {
    }

    [[nodiscard]] int descriptor() const override { return m_termination.descriptor(); }
    [[nodiscard]] std::chrono::steady_clock::time_point deadline() const override
    {
        return m_termination.deadline();
    }
    [[nodiscard]] std::optional<KillAnswer> advance() override { return m_termination.advance(); }

private:
    Termination m_termination;
};

} // namespace

SystemListeners::SystemListeners(TierRuleFiles::Report report)
    : m_report(std::move(report))
{
}

/// Has the rules read by another thread, unless they were: that takes about a fifth of the time of
/// the first scan.
void SystemListeners::startReadingRules()
{
    if (m_tierRuleFiles) {
        return;
    }
    m_tierRuleFiles.emplace(
        TierRuleSources::ofThisProcess(),
        [this](const TierRuleProblem &problem) { m_problems.push_back(problem); });
    try {
        m_firstRules = std::async(std::launch::async, [this] { return m_tierRuleFiles->update(); });
    } catch (const std::system_error &) {
        // There is no other thread to be had: tierRules() reads them.
    }
}

SharedTierRules SystemListeners::tierRules()
{
    startReadingRules();
    SharedTierRules rules = m_firstRules.valid() ? m_firstRules.get() : m_tierRuleFiles->update();
    for (const TierRuleProblem &problem : std::exchange(m_problems, {})) {
        m_report(problem);
    }
    return rules;
}

Listing SystemListeners::list()
{
    startReadingRules();
    forgetSurroundings();
    Scan scan = m_inventory.scan({.records = true, .owners = {}, .details = true});
    if (auto *error = std::get_if<ListingError>(&scan)) {
        m_sockets.clear();
        m_details.clear();
        return std::move(*error);
    }
    auto &found = std::get<ScanResult>(scan);
    m_sockets = std::move(found.sockets);
    m_details = std::move(found.details);
    return std::move(found.records);
}

std::optional<ListingError> SystemListeners::visit(const PortVisitor &visitor)
{
    startReadingRules();
    forgetSurroundings();
    return m_inventory.visit(visitor);
}

void SystemListeners::forgetSurroundings()
{
    m_ancestry.reset();
    m_projects.reset();
}

std::vector<Ancestor> SystemListeners::listedAncestors(std::int32_t pid)
{
    if (!m_ancestry) {
        m_ancestry = std::make_unique<AncestryReader>();
    }
    return m_ancestry->ancestors(pid);
}

std::optional<Project> SystemListeners::project(std::int32_t pid, const std::string &folder)
{
    if (!m_projects) {
        m_projects = std::make_unique<ProjectFinder>();
    }
    return m_projects->find(pid, folder);
}

std::optional<ProcessIdentity> SystemListeners::identity(std::int32_t pid) const
{
    const SharedProcessReport report = m_inventory.report();
    const ReportedProcess *reported = report->find(pid);
    return reported != nullptr ? std::optional(reported->process) : std::nullopt;
}

KillAnswer SystemListeners::end(const ProcessIdentity &process)
{
    return ProcessTerminator(m_inventory).terminate(process);
}

ProcessEnder::StartedEnd SystemListeners::startEnd(const ProcessIdentity &process)
{
    ProcessTerminator::Started started = ProcessTerminator(m_inventory).startAlone(process);
    if (auto *termination = std::get_if<Termination>(&started)) {
        return std::make_unique<PendingTermination>(std::move(*termination));
    }
    if (const auto *code = std::get_if<KillResultCode>(&started)) {
        return KillAnswer(*code);
    }
    return KillAnswer(std::get<KillError>(std::move(started)));
}

std::string SystemListeners::protection(std::int32_t pid) const
{
    const SessionGuard::Answer answer = SessionGuard::part(pid);
    const auto *part = std::get_if<std::optional<SessionGuard::Part>>(&answer);
    return part != nullptr && *part ? std::string(SessionGuard::name(**part)) : std::string();
}

std::optional<Forwarding> SystemListeners::forwarding(std::int32_t pid) const
{
    return forwardingOf(pid);
}

std::optional<Supervisor> SystemListeners::supervisor(std::int32_t pid) const
{
    return supervisorOf(pid);
}

std::optional<Supervisor> SystemListeners::restarter(std::int32_t pid,
                                                     std::span<const std::int32_t> former) const
{
    return restarterOf(pid, former);
}

std::vector<Ancestor> SystemListeners::ancestors(std::int32_t pid) const
{
    return Tarnwick::ancestors(pid);
}

std::int32_t SystemListeners::self() const
{
    return ::getpid();
}

std::vector<std::string> SystemListeners::arguments(std::int32_t pid) const
{
    return argumentsOf(pid);
}

bool SystemListeners::sharesOutput(std::int32_t first, std::int32_t second) const
{
    return shareOutput(first, second);
}

std::vector<KillAnswer> SystemListeners::endRelated(std::span<const ProcessIdentity> processes)
{
    return ProcessTerminator(m_inventory).terminateRelated(processes);
}

} // namespace Tarnwick
