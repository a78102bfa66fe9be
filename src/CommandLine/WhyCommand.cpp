// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WhyCommand.h"

#include "CommandLine/EndpointText.h"
#include "CommandLine/FreePlanner.h"
#include "CommandLine/JsonEscapes.h"
#include "CommandLine/TerminalText.h"
#include "Shared/RawPortInfoWriter.h"
#include "Shared/TierExplanation.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

constexpr std::int32_t initProcess = 1;
constexpr std::string_view rootHint = "Running as root may tell who it is.";

std::string urlOf(const std::vector<ListenerDetails> &sockets, std::int64_t port)
{
    std::string best;
    for (const ListenerDetails &socket : sockets) {
        const std::string url = EndpointText::url(socket.address, port);
        const bool isLocalhost = url.find("localhost") != url.npos;
        best = best.empty() || isLocalhost ? url : best;
    }
    return best;
}

/// "npm, sh and node", by the names of the processes.
std::string namesOf(const std::vector<FreePlan::Step> &steps)
{
    constexpr std::size_t maxNames = 6;
    std::string text;
    const std::size_t count = std::min(steps.size(), maxNames);
    for (std::size_t index = 0; index < count; ++index) {
        text += (index == 0 ? "" : ", ") + steps[index].name;
    }
    return text + (steps.size() > count ? ", …" : "");
}

} // namespace

WhyCommand::WhyCommand(WhyArguments arguments, const Console &console, const CommandSystem &system)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_system(system)
{
}

ExitCode WhyCommand::run()
{
    Listing listing = m_system.source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        m_console.sayError(error->message);
        return ExitCode::Failed;
    }
    const SharedTierRules rules = m_system.source.tierRules();
    const std::vector<Listener> listeners =
        listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                      m_system.source.sockets(), m_system.source.details(), *rules);
    const std::vector<OwnerReport> found = reports(listeners, *rules);
    return found.empty() ? showBlockers() : showOwners(found);
}

std::vector<OwnerReport> WhyCommand::reports(const std::vector<Listener> &listeners,
                                             const TierRules &rules) const
{
    std::vector<OwnerReport> found;
    const bool isListenedOn =
        std::any_of(listeners.begin(), listeners.end(), [this](const Listener &listener) {
            return listener.entry.port == m_arguments.port;
        });
    if (!isListenedOn) {
        return found;
    }
    const ProcessTree tree = m_system.processes.tree();
    // As if everything were allowed: what it takes is said with the command.
    const FreePlanner planner(listeners, tree, m_system.processes, m_system.ender,
                              {.userId = 0, .system = true});
    const std::vector<FreePlan> plans = planner.plans({m_arguments.port}, {});
    for (const FreePlan &plan : plans) {
        std::vector<Listener> sockets;
        std::copy_if(listeners.begin(), listeners.end(), std::back_inserter(sockets),
                     [&plan, this](const Listener &listener) {
                         return listener.entry.port == m_arguments.port &&
                                listener.entry.pid == plan.owner.pid;
                     });
        found.push_back(reportOf(plan, tree, sockets, rules));
        found.back().stop = waysToStop(plan, tree, sockets.front().details, plans.size() == 1);
    }
    return found;
}

OwnerReport WhyCommand::reportOf(const FreePlan &plan, const ProcessTree &tree,
                                 std::span<const Listener> sockets, const TierRules &rules) const
{
    OwnerReport report{.listener = sockets.front()};
    for (const Listener &socket : sockets) {
        report.sockets.push_back(socket.details);
    }
    const auto pid = static_cast<std::int32_t>(plan.owner.pid);
    const TierExplanation explanation = TierExplanation::of(report.listener.record, rules);
    report.tierRule = "by " + explanation.place() + ": " + explanation.conditions();
    report.ancestors = ancestorsOf(pid, tree);
    report.restart = restartOf(plan, tree, report.listener);
    report.url = urlOf(report.sockets, plan.owner.port);
    return report;
}

std::vector<OwnerReport::Process> WhyCommand::ancestorsOf(std::int32_t pid,
                                                          const ProcessTree &tree) const
{
    constexpr std::size_t maxAncestors = 32;
    std::vector<OwnerReport::Process> found;
    const TreeProcess *process = tree.find(pid);
    process = process != nullptr ? tree.find(process->parent) : nullptr;
    while (process != nullptr && found.size() < maxAncestors) {
        OwnerReport::Process ancestor{.pid = process->pid(), .name = process->name};
        for (const std::string &argument : m_system.processes.arguments(process->pid())) {
            ancestor.command += (ancestor.command.empty() ? "" : " ") + argument;
        }
        found.push_back(std::move(ancestor));
        process = tree.find(process->parent);
    }
    return found;
}

std::vector<std::string> WhyCommand::waysToStop(const FreePlan &plan, const ProcessTree &tree,
                                                const ListenerDetails &details,
                                                bool isOnlyOwner) const
{
    if (plan.owner.pid == 0) {
        const bool isRoot = m_console.environment.isRoot;
        return {plan.owner.process.ends_with(".service") && !details.isUserUnit
                    ? std::string(isRoot ? "" : "sudo ") + "systemctl stop " + plan.owner.process
                    : "The owner is unknown. " + std::string(isRoot ? "" : rootHint)};
    }
    if (!plan.refusal.empty()) {
        return {plan.refusal};
    }
    const TreeProcess *const owner = tree.find(static_cast<std::int32_t>(plan.owner.pid));
    const bool isOther = owner != nullptr && owner->userId != m_console.environment.userId;
    const std::string program =
        std::string(isOther && !m_console.environment.isRoot ? "sudo " : "") + "tarnwickctl ";
    const std::string option = plan.owner.tier == PortTier::System ? " --system" : "";
    const std::string port = std::to_string(m_arguments.port);
    std::vector<std::string> ways{program + "kill " +
                                  (isOnlyOwner ? port : "--pid " + std::to_string(plan.owner.pid)) +
                                  option};
    if (plan.steps.size() > 1) {
        ways.push_back(program + "free " + port + option + ", with all of " + namesOf(plan.steps));
    }
    return ways;
}

std::string WhyCommand::restartOf(const FreePlan &plan, const ProcessTree &tree,
                                  const Listener &listener) const
{
    const auto pid = static_cast<std::int32_t>(plan.owner.pid);
    if (!listener.details.socketUnit.empty()) {
        return "the next connection to " + listener.details.socketUnit + " starts it again";
    }
    if (pid == 0) {
        return {};
    }
    if (const std::optional<Supervisor> found = m_system.processes.supervisor(pid)) {
        return found->name + (found->pid != 0 ? " (pid " + std::to_string(found->pid) + ")" : "") +
               " starts it again" +
               (found->stopCommand.empty() ? "" : "; '" + found->stopCommand + "' stops that");
    }
    const TreeProcess *const process = tree.find(pid);
    const TreeProcess *const parent = process != nullptr ? tree.find(process->parent) : nullptr;
    if (parent == nullptr || parent->pid() == initProcess ||
        m_system.processes.role(parent->pid()) == LaunchRole::InteractiveShell) {
        return "nothing that is known starts it again";
    }
    return "only " + parent->name + " (pid " + std::to_string(parent->pid()) +
           ") might start it again";
}

ExitCode WhyCommand::showOwners(const std::vector<OwnerReport> &reports) const
{
    if (m_arguments.json) {
        return m_console.finish(json(reports, {}), ExitCode::Done);
    }
    const TerminalShape shape = m_console.output.terminal();
    const Style style(colorDepth(m_console.environment, shape.isTerminal));
    const std::size_t width = shape.isTerminal ? shape.columns : Table::anyWidth;
    const ListenerTable::Context context{
        .now = m_console.now(), .home = m_console.environment.home, .style = style};
    std::string text;
    for (const OwnerReport &report : reports) {
        text += text.empty() ? "" : "\n";
        const std::string heading =
            "Port " + std::to_string(m_arguments.port) + ": " + report.heading();
        text.append(style.bold()).append(TerminalText::cut(heading, width));
        text.append(style.reset()).append("\n");
        for (const std::string &line : report.fields(context).lines(style, width)) {
            text.append(line).append("\n");
        }
    }
    return m_console.finish(text, ExitCode::Done);
}

ExitCode WhyCommand::showBlockers() const
{
    const std::int64_t port = m_arguments.port;
    const PortBlockers blockers(m_system.ports, m_system.processes);
    const std::vector<PortBlocker> found = blockers.find(port);
    if (m_arguments.json) {
        return m_console.finish(json({}, found), ExitCode::NothingDone);
    }
    m_console.say("Nothing listens on port " + std::to_string(port) + ".");
    std::string text;
    for (const PortBlocker &blocker : found) {
        text += blocker.text + '\n';
    }
    if (!found.empty()) {
        text += blockers.summary(port, found) + '\n';
    }
    return m_console.finish(text, ExitCode::NothingDone);
}

std::string WhyCommand::json(const std::vector<OwnerReport> &reports,
                             const std::vector<PortBlocker> &blockers) const
{
    std::string text = "{\"port\":" + std::to_string(m_arguments.port) + ",\"owners\":[";
    for (const OwnerReport &report : reports) {
        text += &report == &reports.front() ? "" : ",";
        JsonEscapes::append(text, report.json());
    }
    text += "],\"blockers\":";
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartArray();
    for (const PortBlocker &blocker : blockers) {
        writer.StartObject();
        writer.Key("text");
        writer.String(blocker.text.data(), static_cast<rapidjson::SizeType>(blocker.text.size()));
        writer.Key("processes");
        writer.StartArray();
        for (const std::int32_t pid : blocker.processes) {
            writer.Int(pid);
        }
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    JsonEscapes::append(text, {buffer.GetString(), buffer.GetSize()});
    return text + "}\n";
}

} // namespace Tarnwick
