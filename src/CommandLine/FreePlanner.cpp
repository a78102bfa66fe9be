// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FreePlanner.h"

#include "CommandLine/OwnerText.h"
#include "CommandLine/StopAdvice.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <utility>

namespace Tarnwick {

namespace {

using Role = LaunchRole;

constexpr std::int32_t initProcess = 1;

std::string processText(const TreeProcess &process)
{
    return TerminalText::printable(process.name) + " (pid " + std::to_string(process.pid()) + ")";
}

template<class Value>
bool contains(const std::vector<Value> &values, const Value &value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

/// A service manager starts the service whose process this is, which has no terminal.
bool isUnit(const Supervisor &supervisor)
{
    return supervisor.kind == Supervisor::Kind::SystemUnit ||
           supervisor.kind == Supervisor::Kind::UserUnit;
}

} // namespace

/// The processes of one server.
struct FreePlanner::Members
{
    std::set<std::int32_t> all;

    bool add(const TreeProcess &process) { return all.insert(process.pid()).second; }
    [[nodiscard]] bool has(std::int32_t pid) const { return all.contains(pid); }
};

FreePlanner::FreePlanner(std::span<const Listener> listeners, const ProcessTree &tree,
                         const ServerProcesses &processes, const ProcessEnder &ender, Rights rights)
    : m_listeners(listeners)
    , m_tree(tree)
    , m_processes(processes)
    , m_ender(ender)
    , m_rights(rights)
{
}

std::vector<FreePlan> FreePlanner::plans(const std::vector<std::int64_t> &ports,
                                         const Holders &holders) const
{
    std::vector<FreePlan> found;
    for (const std::int64_t port : ports) {
        for (const Listener &listener : m_listeners) {
            const bool isPlanned =
                std::any_of(found.begin(), found.end(), [&listener](const FreePlan &plan) {
                    return plan.owner.pid == listener.entry.pid &&
                           contains(plan.ports, listener.entry.port);
                });
            if (listener.entry.port == port && !isPlanned) {
                found.push_back(planFor(listener, ports, holders));
            }
        }
    }
    return found;
}

FreePlan FreePlanner::planFor(const Listener &listener, const std::vector<std::int64_t> &ports,
                              const Holders &holders) const
{
    FreePlan plan{.owner = listener.entry};
    for (const Listener &other : m_listeners) {
        const bool isSame = plan.owner.pid != 0 ? other.entry.pid == plan.owner.pid
                                                : other.entry.port == plan.owner.port;
        if (!isSame) {
            continue;
        }
        auto &kind = contains(ports, other.entry.port) ? plan.ports : plan.otherPorts;
        if (!contains(kind, other.entry.port)) {
            kind.push_back(other.entry.port);
        }
        if (contains(ports, other.entry.port) && !contains(plan.addresses, other.details.address)) {
            plan.addresses.push_back(other.details.address);
        }
    }
    plan.refusal = refusal(listener);
    const TreeProcess *const owner = m_tree.find(static_cast<std::int32_t>(plan.owner.pid));
    if (!plan.refusal.empty() || owner == nullptr) {
        return plan;
    }
    Members members;
    members.add(*owner);
    const TreeProcess *top = owner;
    while (const TreeProcess *const runner = runnerOf(*top, plan)) {
        members.add(*runner);
        plan.steps.insert(plan.steps.begin(), step(FreePlan::Part::Runner, *runner));
        top = runner;
    }
    const TreeProcess *const parent = m_tree.find(top->parent);
    plan.mayReturn = parent != nullptr && parent->pid() != initProcess &&
                     m_processes.role(parent->pid()) != Role::InteractiveShell;
    plan.steps.push_back(step(FreePlan::Part::Owner, *owner));
    addWorkers(*owner, members, plan);
    addRestOfGroup(*owner, members, plan);
    addHolders(holders, members, plan);
    return plan;
}

std::string FreePlanner::refusal(const Listener &listener) const
{
    const PortEntry &owner = listener.entry;
    const auto pid = static_cast<std::int32_t>(owner.pid);
    const bool isRoot = m_rights.userId == 0;
    if (pid == 0) {
        return "The owner of port " + std::to_string(owner.port) +
               " is unknown and cannot be stopped." + (isRoot ? "" : " Running as root may help.");
    }
    const std::string subject = OwnerText::process(owner);
    if (isOwnProcess(pid)) {
        return subject + " runs this command.";
    }
    if (const std::string part = m_ender.protection(pid); !part.empty()) {
        const std::string &unit = listener.details.socketUnit;
        return subject + " is " + part + "." +
               (unit.empty()
                    ? ""
                    : " It listens for " + TerminalText::printable(unit) + "; 'systemctl " +
                          (listener.details.isUserUnit ? "--user " : "") + "stop " +
                          TerminalText::printable(unit) + "' frees the port.");
    }
    if (std::string reason = refusalOfSupervised(listener); !reason.empty()) {
        return reason;
    }
    if (owner.tier == PortTier::System && !m_rights.system) {
        return subject + " on " + OwnerText::ports({owner.port}) +
               " belongs to the system tier; --system is needed to stop it.";
    }
    const TreeProcess *const process = m_tree.find(pid);
    if (process == nullptr) {
        return subject + " has ended meanwhile.";
    }
    if (!isRoot && process->userId != m_rights.userId) {
        return subject + " belongs to another user; sudo is needed to stop it.";
    }
    return {};
}

std::string FreePlanner::refusalOfSupervised(const Listener &listener) const
{
    const auto pid = static_cast<std::int32_t>(listener.entry.pid);
    const std::string subject = OwnerText::process(listener.entry);
    const auto advice = [](const std::string &command) {
        return command.empty() ? std::string(".")
                               : "; '" + TerminalText::printable(command) + "' stops it.";
    };
    if (const std::optional<Forwarding> forwarding = m_ender.forwarding(pid)) {
        return StopAdvice::ofForwarder(subject, OwnerText::ports({listener.entry.port}),
                                       *forwarding);
    }
    const std::optional<Supervisor> found = m_processes.supervisor(pid);
    using Kind = Supervisor::Kind;
    if (!found || (found->kind != Kind::Container && found->kind != Kind::ProcessManager &&
                   !isUnit(*found))) {
        return {};
    }
    // What this program runs in as well is not what starts the server: a terminal's unit, say.
    if (found == m_processes.supervisor(m_processes.self())) {
        return {};
    }
    const TreeProcess *const process = m_tree.find(pid);
    if (isUnit(*found) && process != nullptr && process->hasTerminal) {
        return {};
    }
    return subject + " is run by " + TerminalText::printable(found->name) +
           advice(found->stopCommand);
}

/// The process above @p process that belongs to the server, too; null where none does.
const TreeProcess *FreePlanner::runnerOf(const TreeProcess &process, FreePlan &plan) const
{
    const TreeProcess *const parent = m_tree.find(process.parent);
    if (parent == nullptr || parent->hasEnded || parent->pid() == initProcess) {
        return nullptr;
    }
    const Role role = m_processes.role(parent->pid());
    const std::vector<std::int64_t> &ports = plan.ports;
    if (role == Role::InteractiveShell || role == Role::Host || isOwnProcess(parent->pid())) {
        return nullptr;
    }
    if (m_tree.children(parent->pid()).size() != 1) {
        plan.spared.push_back(processText(*parent) + " has other children");
        return nullptr;
    }
    const bool isLauncher = role == Role::ScriptShell || role == Role::Wrapper;
    const std::optional<Supervisor> supervisor = m_processes.supervisor(process.pid());
    const bool isWatcher = supervisor && supervisor->kind == Supervisor::Kind::Watcher &&
                           supervisor->pid == parent->pid();
    const bool isNear =
        parent->group == process.group && m_processes.sharesOutput(parent->pid(), process.pid());
    if (!isLauncher && !isWatcher && !isNear) {
        return nullptr;
    }
    if (const std::string reason = reasonToSpare(*parent, ports); !reason.empty()) {
        plan.spared.push_back(processText(*parent) + " " + reason);
        return nullptr;
    }
    return parent;
}

/// Why @p process is not ended with a server on @p ports; empty where it is.
std::string FreePlanner::reasonToSpare(const TreeProcess &process,
                                       const std::vector<std::int64_t> &ports) const
{
    if (isOwnProcess(process.pid())) {
        return "runs this command";
    }
    if (m_rights.userId != 0 && process.userId != m_rights.userId) {
        return "belongs to another user";
    }
    if (listensElsewhere(process.pid(), ports)) {
        return "listens on other ports";
    }
    const Role role = m_processes.role(process.pid());
    if (role == Role::InteractiveShell) {
        return "is a shell that a person types into";
    }
    if (role == Role::Host) {
        return "starts other programs";
    }
    const std::string part = m_ender.protection(process.pid());
    return part.empty() ? std::string() : "is " + part;
}

void FreePlanner::addWorkers(const TreeProcess &owner, Members &members, FreePlan &plan) const
{
    std::deque<const TreeProcess *> parents{&owner};
    while (!parents.empty()) {
        const TreeProcess *const parent = parents.front();
        parents.pop_front();
        for (const TreeProcess *const child : m_tree.children(parent->pid())) {
            // One that has left the session was meant to go on alone.
            if (child->session != owner.session) {
                continue;
            }
            if (const std::string reason = reasonToSpare(*child, plan.ports); !reason.empty()) {
                plan.spared.push_back(processText(*child) + " " + reason);
                continue;
            }
            if (members.add(*child)) {
                plan.steps.push_back(step(FreePlan::Part::Worker, *child));
                parents.push_back(child);
            }
        }
    }
}

/// Orphans in the owner's group: their parents have ended. The rest of the group must belong to the
/// server, its leader included if that lives.
void FreePlanner::addRestOfGroup(const TreeProcess &owner, Members &members, FreePlan &plan) const
{
    std::vector<const TreeProcess *> rest;
    for (const TreeProcess &process : m_tree.all()) {
        if (process.group != owner.group || process.hasEnded || members.has(process.pid())) {
            continue;
        }
        const TreeProcess *const parent = m_tree.find(process.parent);
        const bool isOrphan = parent == nullptr || parent->session != process.session;
        const bool isLeader = process.pid() == process.group;
        if (!isOrphan || isLeader || !reasonToSpare(process, plan.ports).empty()) {
            return;
        }
        rest.push_back(&process);
    }
    for (const TreeProcess *const process : rest) {
        members.add(*process);
        plan.steps.push_back(step(FreePlan::Part::Member, *process));
    }
}

/// Processes that keep the sockets open when the owner is gone: workers that have left its session,
/// and orphans.
void FreePlanner::addHolders(const Holders &holders, Members &members, FreePlan &plan) const
{
    const auto owner = static_cast<std::int32_t>(plan.owner.pid);
    const TreeProcess *const ownerProcess = m_tree.find(owner);
    for (const std::int64_t port : plan.ports) {
        const auto ofPort = holders.find(port);
        if (ofPort == holders.end() || !contains(ofPort->second, owner)) {
            continue;
        }
        for (const std::int32_t pid : ofPort->second) {
            const TreeProcess *const process = m_tree.find(pid);
            if (process == nullptr || process->hasEnded || members.has(pid)) {
                continue;
            }
            const bool isNear = m_tree.isBelow(pid, owner) || process->group == ownerProcess->group;
            const std::string reason =
                isNear ? reasonToSpare(*process, plan.ports) : "holds the socket as well";
            if (!reason.empty()) {
                plan.spared.push_back(processText(*process) + " " + reason);
                continue;
            }
            members.add(*process);
            plan.steps.push_back(step(FreePlan::Part::Member, *process));
        }
    }
}

bool FreePlanner::isOwnProcess(std::int32_t pid) const
{
    return m_tree.isBelow(m_processes.self(), pid);
}

bool FreePlanner::listensElsewhere(std::int32_t pid, const std::vector<std::int64_t> &ports) const
{
    return std::any_of(m_listeners.begin(), m_listeners.end(), [&](const Listener &listener) {
        return listener.entry.pid == pid && !contains(ports, listener.entry.port);
    });
}

FreePlan::Step FreePlanner::step(FreePlan::Part part, const TreeProcess &process) const
{
    FreePlan::Step made{.part = part, .process = process.identity, .name = process.name};
    for (const std::string &argument : m_processes.arguments(process.pid())) {
        made.command += (made.command.empty() ? "" : " ") + argument;
    }
    return made;
}

} // namespace Tarnwick
