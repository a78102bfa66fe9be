// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FreeCommand.h"

#include "CommandLine/FreePlanner.h"
#include "CommandLine/OwnerText.h"
#include "CommandLine/PortBlockers.h"
#include "CommandLine/StopQuestion.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <set>
#include <thread>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

std::string stepText(const FreePlan::Step &step)
{
    return TerminalText::printable(step.name) + " (pid " + std::to_string(step.process.pid) + ")";
}

/// The processes that hold the sockets that listen on @p port, each once.
std::vector<std::int32_t> holdersOf(std::int64_t port, const PortProbe &ports)
{
    const PortSockets::Result found = ports.sockets(port, PortSockets::Which::Listening);
    std::set<std::int32_t> holders;
    if (const auto *sockets = std::get_if<std::vector<PortSocket>>(&found)) {
        for (const PortSocket &socket : *sockets) {
            const std::vector<std::int32_t> ofSocket = ports.holders(socket.inode);
            holders.insert(ofSocket.begin(), ofSocket.end());
        }
    }
    return {holders.begin(), holders.end()};
}

} // namespace

FreeCommand::FreeCommand(FreeArguments arguments, const Console &console,
                         const CommandSystem &system)
    : FreeCommand(std::move(arguments), console, system, KillCommand::Release{})
{
}

FreeCommand::FreeCommand(FreeArguments arguments, const Console &console,
                         const CommandSystem &system, KillCommand::Release release)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_system(system)
    , m_release(release)
{
}

ExitCode FreeCommand::run()
{
    const bool asks = !m_arguments.yes && !m_arguments.dryRun;
    if (asks && !StopQuestion(m_console).canAsk()) {
        return ExitCode::Usage;
    }
    if (!updateListeners()) {
        return ExitCode::Failed;
    }
    ExitCode worst = ExitCode::Done;
    for (const std::int64_t port : m_arguments.ports) {
        if (!isListenedOn(port)) {
            worst = std::max(worst, checkUnusedPort(port));
        }
    }
    for (const FreePlan &plan : plans()) {
        worst = std::max(worst, m_arguments.dryRun ? show(plan) : carryOut(plan));
    }
    return worst;
}

bool FreeCommand::updateListeners()
{
    Listing listing = m_system.source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        m_console.sayError(error->message);
        return false;
    }
    m_listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                m_system.source.sockets(), m_system.source.details(),
                                *m_system.source.tierRules());
    return true;
}

std::vector<FreePlan> FreeCommand::plans() const
{
    FreePlanner::Holders holders;
    for (const std::int64_t port : m_arguments.ports) {
        holders[port] = holdersOf(port, m_system.ports);
    }
    const ProcessTree tree = m_system.processes.tree();
    const FreePlanner::Rights rights{.userId = m_console.environment.userId,
                                     .system = m_arguments.system};
    return FreePlanner(m_listeners, tree, m_system.processes, m_system.ender, rights)
        .plans(m_arguments.ports, holders);
}

bool FreeCommand::isListenedOn(std::int64_t port) const
{
    return std::any_of(m_listeners.begin(), m_listeners.end(),
                       [port](const Listener &listener) { return listener.entry.port == port; });
}

/// A port on which nothing listens.
ExitCode FreeCommand::checkUnusedPort(std::int64_t port)
{
    if (!isInUse(port, PortBinding::everyAddress())) {
        return report(port, "free", ExitCode::Done);
    }
    printHolders(port);
    return report(port, "cannot be bound", ExitCode::PortTaken);
}

ExitCode FreeCommand::show(const FreePlan &plan)
{
    if (!plan.refusal.empty()) {
        m_console.sayError(plan.refusal);
        return ExitCode::NotPermitted;
    }
    return m_console.finish(description(plan), ExitCode::Done);
}

std::string FreeCommand::description(const FreePlan &plan) const
{
    std::string text = OwnerText::process(plan.owner) + ", tier " +
                       std::string(rawValue(plan.owner.tier)) + ", listens on " +
                       OwnerText::ports(plan.ports);
    text += plan.otherPorts.empty() ? "" : ", and on " + OwnerText::ports(plan.otherPorts);
    text += plan.steps.size() == 1 ? ":\n" : "; to be stopped in this order:\n";
    for (const FreePlan::Step &step : plan.steps) {
        text += "  " + std::string(name(step.part)) + " " + stepText(step);
        text += (step.command.empty() ? "" : ": " + TerminalText::printable(step.command)) + '\n';
    }
    for (const std::string &spared : plan.spared) {
        text += "  stays: " + spared + '\n';
    }
    return text;
}

ExitCode FreeCommand::carryOut(const FreePlan &plan)
{
    if (!plan.refusal.empty()) {
        m_console.sayError(plan.refusal);
        return ExitCode::NotPermitted;
    }
    static_cast<void>(m_console.errors.write(description(plan)));
    if (!m_arguments.yes) {
        const std::size_t others = plan.steps.size() - 1;
        const std::string with = others == 0
                                     ? ""
                                     : " and " + std::to_string(others) +
                                           (others == 1 ? " other process" : " other processes");
        if (!StopQuestion(m_console).isConfirmed("Stop " + OwnerText::process(plan.owner) + with +
                                                 " to free " + OwnerText::ports(plan.ports) +
                                                 "?")) {
            return ExitCode::NothingDone;
        }
    }
    ExitCode worst = end(plan);
    for (const std::int64_t port : plan.ports) {
        worst = std::max(worst, checkPort(plan, port));
    }
    return worst;
}

/// The runners first: a runner that lives would start the owner again. The owner before its
/// workers, which it would start again, too, and which it mostly ends itself.
ExitCode FreeCommand::end(const FreePlan &plan)
{
    using Part = FreePlan::Part;
    ExitCode worst = ExitCode::Done;
    for (const std::vector<Part> &stage : {std::vector{Part::Runner}, std::vector{Part::Owner},
                                           std::vector{Part::Worker, Part::Member}}) {
        std::vector<const FreePlan::Step *> steps;
        std::vector<ProcessIdentity> identities;
        for (const FreePlan::Step &step : plan.steps) {
            if (std::find(stage.begin(), stage.end(), step.part) != stage.end()) {
                steps.push_back(&step);
                identities.push_back(step.process);
            }
        }
        const bool isOwner = stage.front() == Part::Owner;
        const std::vector<KillAnswer> answers =
            isOwner ? std::vector{m_system.ender.end(identities.front())}
                    : m_system.processes.endRelated(identities);
        for (std::size_t index = 0; index < answers.size(); ++index) {
            worst = std::max(worst, outcomeOf(*steps[index], answers[index]));
        }
    }
    return worst;
}

ExitCode FreeCommand::outcomeOf(const FreePlan::Step &step, const KillAnswer &answer) const
{
    if (const auto *error = std::get_if<KillError>(&answer)) {
        if (error->code == ETIMEDOUT) {
            m_console.sayError(stepText(step) + " was sent SIGKILL and has not ended.");
            return ExitCode::NotEnded;
        }
        m_console.sayError(stepText(step) + " was not stopped: " + error->message + ".");
        return ExitCode::Failed;
    }
    if (std::get<KillResultCode>(answer) == KillResultCode::PermissionDenied) {
        m_console.sayError("Not allowed to stop " + stepText(step) + ".");
        return ExitCode::NotPermitted;
    }
    // One that is not found has ended: with its runner or its owner, as a rule.
    return ExitCode::Done;
}

bool FreeCommand::isInUse(std::int64_t port, const std::vector<ListenAddress> &addresses) const
{
    using Outcome = PortBinding::Outcome;
    const Outcome outcome = m_system.ports.binding(port, addresses);
    if (outcome != Outcome::Unknown) {
        return outcome == Outcome::InUse;
    }
    const PortSockets::Result found = m_system.ports.sockets(port, PortSockets::Which::Listening);
    const auto *sockets = std::get_if<std::vector<PortSocket>>(&found);
    return sockets == nullptr || !sockets->empty();
}

ExitCode FreeCommand::checkPort(const FreePlan &plan, std::int64_t port)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const Clock::time_point deadline = start + m_release.atMost;
    const Clock::time_point recheck = plan.mayReturn ? start + m_release.restart : start;
    for (;;) {
        const Clock::time_point checked = Clock::now();
        const bool isTaken = isInUse(port, plan.addresses);
        const Clock::time_point next = isTaken ? Clock::now() + m_release.interval : recheck;
        if (isTaken && next > deadline) {
            printHolders(port);
            return report(port, "taken", ExitCode::PortTaken);
        }
        if (!isTaken && checked >= recheck) {
            return report(port, "free", ExitCode::Done);
        }
        std::this_thread::sleep_until(next);
    }
}

/// Names what listens on the port now, or else what keeps servers from it.
void FreeCommand::printHolders(std::int64_t port)
{
    bool anyListens = false;
    if (updateListeners()) {
        mergeEqual(m_listeners);
        for (const Listener &listener : m_listeners) {
            if (listener.entry.port == port) {
                anyListens = true;
                m_console.say("Port " + std::to_string(port) + " is held by " +
                              OwnerText::process(listener.entry) + ".");
            }
        }
    }
    if (anyListens) {
        return;
    }
    const PortBlockers blockers(m_system.ports, m_system.processes);
    const std::vector<PortBlocker> found = blockers.find(port);
    for (const PortBlocker &blocker : found) {
        m_console.say("Port " + std::to_string(port) + ": " + blocker.text + ".");
    }
    m_console.say(blockers.summary(port, found));
}

ExitCode FreeCommand::report(std::int64_t port, std::string_view outcome, ExitCode code) const
{
    return m_console.finish("[free] :" + std::to_string(port) + " " + std::string(outcome) + '\n',
                            code);
}

} // namespace Tarnwick
