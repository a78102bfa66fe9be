// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "Helper/PortForwarder.h"
#include "Helper/ProcessAncestry.h"
#include "Helper/SessionGuard.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessDescriptor.h"
#include "Helper/linux/ProcessIdentification.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr pid_t initProcess = 1;

bool isStopped(int root, pid_t pid)
{
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(root, pid);
    return stat && stat->state == 'T';
}

std::string nameOf(std::int32_t pid)
{
    return "process " + std::to_string(pid);
}

KillError couldNot(const std::string &what, std::int32_t pid, int code)
{
    const std::string reason = code == ETIME ? "it has too many descriptors" : std::strerror(code);
    return {code, "cannot " + what + " " + nameOf(pid) + ": " + reason};
}

/// Whether a failed system call says nothing about the process that it was for.
bool isShortage(int code)
{
    return code == EMFILE || code == ENFILE || code == ENOMEM || code == ENOBUFS ||
           code == EAGAIN || code == EINTR || code == EIO || code == ETIME;
}

/// What the failure of a system call for a process stands for.
template<class Result>
Result resultOfFailure(const char *what, std::int32_t pid, int code)
{
    // Of pidfd_open(2): threads are EINVAL, and ENOENT since Linux 6.16.
    if (code == ESRCH || code == EINVAL || code == ENOENT) {
        return KillResultCode::NotFound;
    }
    if (isShortage(code)) {
        return couldNot(what, pid, code);
    }
    return KillResultCode::PermissionDenied;
}

/// The answer for a part of the session, and for what may be one; nothing for other processes.
std::optional<KillAnswer> refusalOfSessionPart(std::int32_t pid)
{
    const SessionGuard::Answer part = SessionGuard::part(pid);
    if (const auto *failure = std::get_if<SessionGuard::Failure>(&part)) {
        const bool isDenied =
            failure->isOfProcess && (failure->code == EACCES || failure->code == EPERM);
        return isDenied ? KillAnswer(KillResultCode::PermissionDenied)
                        : KillError{failure->code, failure->message};
    }
    const bool isPart = std::get<std::optional<SessionGuard::Part>>(part).has_value();
    return isPart ? std::optional<KillAnswer>(KillResultCode::PermissionDenied) : std::nullopt;
}

ProcessTerminator::Started toStarted(const KillAnswer &answer)
{
    return std::visit([](const auto &value) { return ProcessTerminator::Started(value); }, answer);
}

KillAnswer waitFor(Termination &termination)
{
    for (;;) {
        pollfd waiting = {.fd = termination.descriptor(), .events = POLLIN, .revents = 0};
        const auto left = std::chrono::ceil<milliseconds>(termination.deadline() - Clock::now());
        ::poll(&waiting, 1, static_cast<int>(std::max<milliseconds::rep>(0, left.count())));
        if (std::optional<KillAnswer> answer = termination.advance()) {
            return *std::move(answer);
        }
    }
}

} // namespace

struct Termination::State
{
    std::int32_t pid;
    ProcessDescriptor process;
    ProcessTerminator::Patience patience;
    Clock::time_point deadline;
    bool forced = false;
};

Termination::Termination(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}
Termination::~Termination() = default;
Termination::Termination(Termination &&) noexcept = default;
Termination &Termination::operator=(Termination &&) noexcept = default;

int Termination::descriptor() const
{
    return m_state->process.get();
}

Clock::time_point Termination::deadline() const
{
    return m_state->deadline;
}

std::optional<KillAnswer> Termination::advance()
{
    State &state = *m_state;
    if (state.process.hasEnded()) {
        return state.forced ? KillResultCode::ForceKilled : KillResultCode::Terminated;
    }
    if (Clock::now() < state.deadline) {
        return std::nullopt;
    }
    if (state.forced) {
        return KillError{ETIMEDOUT, nameOf(state.pid) + " was sent SIGKILL and has not ended"};
    }
    if (const int code = state.process.sendSignal(SIGKILL); code != 0) {
        return code == ESRCH ? KillAnswer(KillResultCode::Terminated)
                             : resultOfFailure<KillAnswer>("signal", state.pid, code);
    }
    state.forced = true;
    state.deadline = Clock::now() + state.patience.afterForcing;
    return std::nullopt;
}

ProcessTerminator::ProcessTerminator(ListenerInventory &inventory)
    : ProcessTerminator(inventory, Patience{})
{
}

ProcessTerminator::ProcessTerminator(ListenerInventory &inventory, Patience patience)
    : m_inventory(inventory)
    , m_patience(patience)
    , m_root(ProcFs::openRoot())
    , m_hasOwnNumbers(ProcFs::numbering(m_root.get()) == ProcFs::Numbering::Own)
{
}

ProcessTerminator::Admitted ProcessTerminator::admit(std::int32_t pid, const ProcessIdentity *meant,
                                                     std::optional<std::int32_t> caller) const
{
    if (pid <= 0) {
        return KillResultCode::NotFound;
    }
    if (pid == initProcess || pid == ::getpid() || pid == caller || !m_hasOwnNumbers) {
        return KillResultCode::PermissionDenied;
    }
    ProcessDescriptor process = ProcessDescriptor::open(pid);
    if (!process) {
        return resultOfFailure<Admitted>("open", pid, errno);
    }
    if (meant == nullptr) {
        return process.hasEnded() ? KillResultCode::NotFound : KillResultCode::PermissionDenied;
    }
    const std::optional<ProcessIdentity> found =
        ProcessIdentification::of(m_root.get(), process, pid);
    if (!found) {
        const int code = errno;
        return process.hasEnded() ? Admitted(KillResultCode::NotFound)
                                  : couldNot("look at", pid, code);
    }
    if (!isSameProcess(*meant, *found)) {
        return KillResultCode::NotFound;
    }
    return Target{pid, process.release()};
}

ProcessTerminator::Started ProcessTerminator::start(Target target, const Ownership &ownership) const
{
    ProcessDescriptor process(std::move(target.process));
    const std::int32_t pid = target.pid;
    if (process.hasEnded()) {
        return KillResultCode::NotFound;
    }
    // It lives, so that whatever was seen under its identifier meanwhile is itself.
    if (ownership.kind == Ownership::Kind::ForOthers) {
        return KillResultCode::PermissionDenied;
    }
    if (ownership.kind != Ownership::Kind::Seen) {
        if (const std::optional<KillAnswer> refused = refusalOfUnseen(pid)) {
            return toStarted(*refused);
        }
    }
    return signal(process, pid);
}

/// Asks a process to end that may be ended unless the session lives on it.
ProcessTerminator::Started ProcessTerminator::signal(ProcessDescriptor &process,
                                                     std::int32_t pid) const
{
    if (std::optional<KillAnswer> refused = refusalOfSessionPart(pid)) {
        return process.hasEnded() ? KillResultCode::NotFound : toStarted(*refused);
    }
    // Its end would close the port and leave what serves it; that one is to be ended.
    const std::uint64_t failures = SystemFailures::count();
    if (forwardingOf(pid)) {
        return KillResultCode::PermissionDenied;
    }
    if (SystemFailures::count() != failures) {
        return process.hasEnded() ? Started(KillResultCode::NotFound)
                                  : couldNot("look at", pid, EAGAIN);
    }
    errno = 0;
    if (ProcFs::numberOf(m_root.get(), process.get()) != pid) {
        return process.hasEnded()
                   ? KillResultCode::NotFound
                   : resultOfFailure<Started>("look at", pid, errno != 0 ? errno : EPERM);
    }
    // A stopped process would never get to handle the signal.
    const bool stopped = isStopped(m_root.get(), pid);
    if (const int code = process.sendSignal(SIGTERM); code != 0) {
        return resultOfFailure<Started>("signal", pid, code);
    }
    if (stopped) {
        static_cast<void>(process.sendSignal(SIGCONT));
    }
    return Termination(std::make_unique<Termination::State>(Termination::State{
        pid, std::move(process), m_patience, Clock::now() + m_patience.beforeForcing}));
}

/// The answer for a living process that a scan did not see to own a listener; nothing when it does
/// own one. A scan takes what it could not look at for not there: that a listener is gone is said
/// only when just that was seen, and a listener that is there gets a second look. What a group led
/// to may be a client of the server.
std::optional<KillAnswer> ProcessTerminator::refusalOfUnseen(std::int32_t pid) const
{
    const std::variant<bool, int> held = m_inventory.holdsListener(pid);
    if (const int *code = std::get_if<int>(&held)) {
        return isShortage(*code) ? KillAnswer(couldNot("look at", pid, *code))
                                 : KillResultCode::PermissionDenied;
    }
    if (!std::get<bool>(held)) {
        return KillResultCode::NotFound;
    }
    const std::variant<Ownership, ListingError> again = m_inventory.ownership(pid);
    if (const auto *error = std::get_if<ListingError>(&again)) {
        return KillError{error->code, error->message};
    }
    const bool isSeen = std::get<Ownership>(again).kind == Ownership::Kind::Seen;
    return isSeen ? std::nullopt : std::optional<KillAnswer>(KillResultCode::PermissionDenied);
}

ProcessTerminator::Started ProcessTerminator::startAlone(const ProcessIdentity &process,
                                                         std::optional<std::int32_t> caller)
{
    Admitted admitted = admit(process.pid, &process, caller);
    if (const auto *code = std::get_if<KillResultCode>(&admitted)) {
        return *code;
    }
    if (auto *error = std::get_if<KillError>(&admitted)) {
        return std::move(*error);
    }
    const std::variant<Ownership, ListingError> found = m_inventory.ownership(process.pid);
    if (const auto *error = std::get_if<ListingError>(&found)) {
        return KillError{error->code, error->message};
    }
    return start(std::get<Target>(std::move(admitted)), std::get<Ownership>(found));
}

KillAnswer ProcessTerminator::terminate(const ProcessIdentity &process,
                                        std::optional<std::int32_t> caller)
{
    Started started = startAlone(process, caller);
    if (auto *termination = std::get_if<Termination>(&started)) {
        return waitFor(*termination);
    }
    if (const auto *code = std::get_if<KillResultCode>(&started)) {
        return *code;
    }
    return std::get<KillError>(std::move(started));
}

ProcessTerminator::Started ProcessTerminator::startRelated(const ProcessIdentity &identity) const
{
    Admitted admitted = admit(identity.pid, &identity);
    if (const auto *code = std::get_if<KillResultCode>(&admitted)) {
        return *code;
    }
    if (auto *error = std::get_if<KillError>(&admitted)) {
        return std::move(*error);
    }
    const std::vector<Ancestor> own = ancestors(::getpid());
    if (std::any_of(own.begin(), own.end(), [&identity](const Ancestor &ancestor) {
            return ancestor.pid == identity.pid;
        })) {
        return KillResultCode::PermissionDenied;
    }
    ProcessDescriptor process(std::move(std::get<Target>(admitted).process));
    return process.hasEnded() ? Started(KillResultCode::NotFound) : signal(process, identity.pid);
}

std::vector<KillAnswer>
ProcessTerminator::terminateRelated(std::span<const ProcessIdentity> processes) const
{
    std::vector<Started> started;
    started.reserve(processes.size());
    for (const ProcessIdentity &process : processes) {
        started.push_back(startRelated(process));
    }
    std::vector<KillAnswer> answers;
    answers.reserve(started.size());
    for (Started &one : started) {
        // The deadlines of those behind pass meanwhile, so that none of them takes its own time.
        if (auto *termination = std::get_if<Termination>(&one)) {
            answers.push_back(waitFor(*termination));
        } else if (const auto *code = std::get_if<KillResultCode>(&one)) {
            answers.emplace_back(*code);
        } else {
            answers.emplace_back(std::get<KillError>(std::move(one)));
        }
    }
    return answers;
}

} // namespace Tarnwick
