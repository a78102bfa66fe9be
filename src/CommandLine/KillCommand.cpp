// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/KillCommand.h"

#include "CommandLine/ListenerTable.h"
#include "CommandLine/OwnerText.h"
#include "CommandLine/StopAdvice.h"
#include "CommandLine/StopQuestion.h"
#include "CommandLine/TerminalText.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace Tarnwick {

namespace {

ExitCode exitCodeOf(KillResultCode result)
{
    switch (result) {
    case KillResultCode::Terminated:
    case KillResultCode::ForceKilled:
        return ExitCode::Done;
    case KillResultCode::PermissionDenied:
        return ExitCode::NotPermitted;
    case KillResultCode::NotFound:
        return ExitCode::NothingDone;
    }
    return ExitCode::Failed;
}

} // namespace

KillCommand::KillCommand(KillArguments arguments, const Console &console, ListenerSource &source,
                         ProcessEnder &ender)
    : KillCommand(std::move(arguments), console, source, ender, Release{})
{
}

KillCommand::KillCommand(KillArguments arguments, const Console &console, ListenerSource &source,
                         ProcessEnder &ender, Release release)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_source(source)
    , m_ender(ender)
    , m_release(release)
{
}

ExitCode KillCommand::run()
{
    if (!m_arguments.yes && !StopQuestion(m_console).canAsk()) {
        return ExitCode::Usage;
    }
    if (!updateListeners()) {
        return ExitCode::Failed;
    }
    rememberOwners();
    mergeEqual(m_listeners);

    ExitCode gravest = ExitCode::Done;
    for (const std::int64_t port : m_arguments.ports) {
        gravest = std::max(gravest, stopOwnerOf(port));
    }
    for (const std::int32_t pid : m_arguments.pids) {
        gravest = std::max(gravest, stopProcess(pid));
    }
    return std::max(gravest, checkFreedPorts());
}

/// What the user agrees to is the end of the processes of this listing. Answering takes time, in
/// which one may end and another process get its identifier.
void KillCommand::rememberOwners()
{
    for (const Listener &listener : m_listeners) {
        m_initialOwners.emplace(listener.socket, listener.entry.pid);
        const auto pid = static_cast<std::int32_t>(listener.entry.pid);
        if (const std::optional<ProcessIdentity> shown = m_ender.identity(pid)) {
            m_shown.emplace(pid, *shown);
        }
    }
}

ExitCode KillCommand::stopOwnerOf(std::int64_t port)
{
    const std::vector<Listener> owners = listenersOn(port);
    if (owners.empty()) {
        m_console.say("Nothing listens on port " + std::to_string(port) + ".");
        return ExitCode::NothingDone;
    }
    if (owners.size() > 1) {
        listOwners(owners);
        m_console.sayError("Port " + std::to_string(port) +
                           " has several owners; choose one with --pid.");
        return ExitCode::Usage;
    }
    const PortEntry &owner = owners.front().entry;
    if (owner.pid == 0) {
        const std::string known = TerminalText::printable(EntryText::fullCommand(owner, {}));
        m_console.sayError("The owner of port " + std::to_string(port) + " is " +
                           (known.empty() ? "unknown" : known + ",") + " and cannot be stopped." +
                           std::string(hintForPrivilege()));
        return ExitCode::NotPermitted;
    }
    return stop(owner, portsAskedForOf(owner.pid));
}

ExitCode KillCommand::stopProcess(std::int64_t pid)
{
    const auto owned =
        std::find_if(m_listeners.begin(), m_listeners.end(),
                     [pid](const Listener &listener) { return listener.entry.pid == pid; });
    if (owned == m_listeners.end()) {
        m_console.say("Process " + std::to_string(pid) + " does not listen on any TCP port.");
        return ExitCode::NothingDone;
    }
    return stop(owned->entry, portsOf(pid));
}

ExitCode KillCommand::stop(const PortEntry &owner, const std::vector<std::int64_t> &asked)
{
    if (!m_handled.insert(owner.pid).second) {
        return ExitCode::Done;
    }
    const auto pid = static_cast<std::int32_t>(owner.pid);
    if (const std::optional<Forwarding> forwarding = m_ender.forwarding(pid)) {
        m_console.sayError(StopAdvice::ofForwarder(OwnerText::process(owner),
                                                   OwnerText::ports(asked), *forwarding));
        return ExitCode::NotPermitted;
    }
    if (owner.tier == PortTier::System && !m_arguments.system) {
        m_console.sayError(OwnerText::process(owner) + " on " + OwnerText::ports(asked) +
                           " belongs to the system tier; --system is needed to stop it.");
        return ExitCode::NotPermitted;
    }
    describe(owner);
    const std::string question =
        "Stop " + OwnerText::process(owner) + " on " + OwnerText::ports(asked) + "?";
    if (!m_arguments.yes && !StopQuestion(m_console).isConfirmed(question)) {
        return ExitCode::NothingDone;
    }
    return end(owner, asked);
}

void KillCommand::describe(const PortEntry &owner) const
{
    const std::string command =
        TerminalText::printable(EntryText::fullCommand(owner, m_console.environment.home));
    m_console.say(OwnerText::process(owner) + ", tier " + std::string(rawValue(owner.tier)) +
                  ", listens on " + OwnerText::ports(portsOf(owner.pid)) +
                  (command.empty() ? "." : ": " + command));
}

ExitCode KillCommand::end(const PortEntry &owner, const std::vector<std::int64_t> &asked)
{
    const auto pid = static_cast<std::int32_t>(owner.pid);
    const std::vector<Ancestor> above = m_ender.ancestors(pid);
    const std::chrono::milliseconds recheckAfter = restartTime(pid, above);
    std::set<std::int64_t> descendants = descendantsOn(asked, owner);
    const auto shown = m_shown.find(owner.pid);
    const KillAnswer answer =
        shown == m_shown.end() ? KillResultCode::NotFound : m_ender.end(shown->second);
    if (const auto *error = std::get_if<KillError>(&answer)) {
        return fail(owner, *error);
    }
    const auto result = std::get<KillResultCode>(answer);
    const ExitCode code = exitCodeOf(result);
    std::string outcome;
    for (const std::int64_t port : asked) {
        const auto number = static_cast<std::int32_t>(result);
        outcome += killOutcomeLine(killResultFromReply(number), port) + '\n';
    }
    if (code == ExitCode::Done) {
        m_stopped.insert(owner.pid);
        m_stopped.merge(descendants);
        m_recheckAfter = std::max(m_recheckAfter, recheckAfter);
        m_freed.insert(asked.begin(), asked.end());
        for (const std::int64_t port : asked) {
            std::transform(above.begin(), above.end(), std::back_inserter(m_ancestors[port]),
                           [](const Ancestor &ancestor) { return ancestor.pid; });
        }
    }
    if (code == ExitCode::NotPermitted) {
        const std::string reason = m_ender.protection(static_cast<std::int32_t>(owner.pid));
        m_console.sayError(
            "Not allowed to stop " + OwnerText::process(owner) +
            (reason.empty() ? "." + std::string(hintForPrivilege()) : ": it is " + reason + "."));
    }
    return m_console.finish(outcome, code);
}

ExitCode KillCommand::fail(const PortEntry &owner, const KillError &error) const
{
    if (error.code == ETIMEDOUT) {
        m_console.sayError(OwnerText::process(owner) + " was sent SIGKILL and has not ended.");
        return ExitCode::NotEnded;
    }
    m_console.sayError(OwnerText::process(owner) + " was not stopped: " + error.message + ".");
    return ExitCode::Failed;
}

std::vector<Listener> KillCommand::listenersOn(std::int64_t port) const
{
    std::vector<Listener> result;
    std::copy_if(m_listeners.begin(), m_listeners.end(), std::back_inserter(result),
                 [port](const Listener &listener) { return listener.entry.port == port; });
    return result;
}

std::vector<std::int64_t> KillCommand::portsOf(std::int64_t pid) const
{
    std::vector<std::int64_t> ports;
    for (const Listener &listener : m_listeners) {
        if (listener.entry.pid == pid) {
            ports.push_back(listener.entry.port);
        }
    }
    ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
    return ports;
}

std::vector<std::int64_t> KillCommand::portsAskedForOf(std::int64_t pid) const
{
    std::vector<std::int64_t> ports = portsOf(pid);
    std::erase_if(ports, [this](std::int64_t port) {
        return std::find(m_arguments.ports.begin(), m_arguments.ports.end(), port) ==
                   m_arguments.ports.end() ||
               listenersOn(port).size() > 1;
    });
    return ports;
}

/// How long after its end @p pid may be started again; no time where that is not to be expected.
std::chrono::milliseconds KillCommand::restartTime(std::int32_t pid,
                                                   const std::vector<Ancestor> &ancestors) const
{
    const std::optional<Supervisor> supervisor = m_ender.supervisor(pid);
    if (supervisor && supervisor->kind != Supervisor::Kind::Shell) {
        return m_release.supervised;
    }
    const bool mayBeRestarted =
        !ancestors.empty() && (!ancestors.front().isShell || ancestors.front().sharesGroup);
    return mayBeRestarted ? m_release.restart : std::chrono::milliseconds(0);
}

/// The processes that listen on @p ports with sockets of their own and descend from @p owner.
std::set<std::int64_t> KillCommand::descendantsOn(const std::vector<std::int64_t> &ports,
                                                  const PortEntry &owner) const
{
    std::set<std::int64_t> descendants;
    for (const std::int64_t port : ports) {
        for (const Listener &listener : listenersOn(port)) {
            const std::int64_t pid = listener.entry.pid;
            if (pid == 0 || pid == owner.pid) {
                continue;
            }
            const std::vector<Ancestor> above = m_ender.ancestors(static_cast<std::int32_t>(pid));
            if (std::any_of(above.begin(), above.end(), [&owner](const Ancestor &ancestor) {
                    return ancestor.pid == owner.pid;
                })) {
                descendants.insert(pid);
            }
        }
    }
    return descendants;
}

std::string_view KillCommand::hintForPrivilege() const
{
    return m_console.environment.isRoot ? "" : " Running as root may help.";
}

void KillCommand::listOwners(const std::vector<Listener> &owners) const
{
    const TerminalShape shape = m_console.errors.terminal();
    const ListenerTable table(
        owners, {.now = m_console.now(),
                 .home = m_console.environment.home,
                 .style = Style(colorDepth(m_console.environment, shape.isTerminal))});
    for (const std::string &line :
         table.lines(shape.isTerminal ? shape.columns : Table::anyWidth)) {
        m_console.say(line);
    }
}

/// Whether @p listener takes a port that was to be freed: it is all but a socket that listened
/// before, with the same owner, which is neither a process that was stopped nor a descendant of
/// one.
bool KillCommand::isTaken(const Listener &listener) const
{
    const PortEntry &holder = listener.entry;
    if (!m_freed.contains(holder.port)) {
        return false;
    }
    const auto initialOwner = m_initialOwners.find(listener.socket);
    const bool isUnchanged =
        initialOwner != m_initialOwners.end() && initialOwner->second == holder.pid;
    return !isUnchanged || m_stopped.contains(holder.pid);
}

bool KillCommand::isAnyTaken() const
{
    return std::any_of(m_listeners.begin(), m_listeners.end(),
                       [this](const Listener &listener) { return isTaken(listener); });
}

/// Lists anew, a listener for each socket. False where that failed, after the reason has been
/// printed.
bool KillCommand::updateListeners()
{
    Listing listing = m_source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        m_console.sayError(error->message);
        return false;
    }
    m_listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                m_source.sockets(), m_source.details(), *m_source.tierRules());
    return true;
}

ExitCode KillCommand::checkFreedPorts()
{
    if (m_freed.empty()) {
        return ExitCode::Done;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const Clock::time_point deadline = start + m_release.atMost;
    const Clock::time_point recheck = start + m_recheckAfter;
    for (Clock::time_point listed = start;; listed = Clock::now()) {
        if (!updateListeners()) {
            return ExitCode::Failed;
        }
        const bool anyTaken = isAnyTaken();
        const Clock::time_point next = anyTaken ? Clock::now() + m_release.interval : recheck;
        if (anyTaken ? next > deadline : listed >= recheck) {
            printHoldersOfFreedPorts();
            return anyTaken ? ExitCode::PortTaken : ExitCode::Done;
        }
        std::this_thread::sleep_until(next);
    }
}

void KillCommand::printHoldersOfFreedPorts()
{
    mergeEqual(m_listeners);
    for (const Listener &listener : m_listeners) {
        const PortEntry &holder = listener.entry;
        if (m_freed.contains(holder.port)) {
            m_console.say("Port " + std::to_string(holder.port) + " is still held by " +
                          OwnerText::process(holder) + ".");
            printRestarter(listener);
        }
    }
}

/// Says who has started @p holder in place of a process that was stopped; a worker that has
/// inherited the socket of one was not started again.
void KillCommand::printRestarter(const Listener &holder) const
{
    const auto former = m_ancestors.find(holder.entry.port);
    if (former == m_ancestors.end() || holder.entry.pid == 0 ||
        m_initialOwners.contains(holder.socket)) {
        return;
    }
    const auto pid = static_cast<std::int32_t>(holder.entry.pid);
    if (const std::optional<Supervisor> restarter = m_ender.restarter(pid, former->second)) {
        m_console.say(StopAdvice::ofRestart(*restarter));
    }
}

} // namespace Tarnwick
