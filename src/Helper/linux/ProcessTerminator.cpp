// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "Helper/SessionGuard.h"
#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr pid_t initProcess = 1;

FileDescriptor openProcessDescriptor(pid_t pid)
{
    // pidfd_open(2) refuses everything that is not the identifier of a process: 0, negative
    // numbers, and those of threads.
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

/// 0, or the errno of the failure.
int sendSignal(const FileDescriptor &process, int signal)
{
    return ::syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0) == 0 ? 0 : errno;
}

/// The end of a process makes its descriptor readable, whether or not its parent has taken notice.
/// A signal that was sent proves nothing: a zombie takes it too.
bool hasEnded(const FileDescriptor &process)
{
    pollfd waiting = {.fd = process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, 0) > 0;
}

bool isStopped(int root, pid_t pid)
{
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(root, pid);
    return stat && stat->state == 'T';
}

/// Why pidfd_open(2) gave nothing: there is no such process, or it may not be asked.
KillResultCode codeForNoDescriptor(int code)
{
    // Threads are EINVAL, and ENOENT since Linux 6.16.
    const bool noSuchProcess = code == ESRCH || code == EINVAL || code == ENOENT;
    return noSuchProcess ? KillResultCode::NotFound : KillResultCode::PermissionDenied;
}

KillResultCode codeForFailure(int code)
{
    return code == ESRCH ? KillResultCode::NotFound : KillResultCode::PermissionDenied;
}

KillResultCode waitFor(Termination &termination)
{
    for (;;) {
        pollfd waiting = {.fd = termination.descriptor(), .events = POLLIN, .revents = 0};
        const auto left = std::chrono::ceil<milliseconds>(termination.deadline() - Clock::now());
        ::poll(&waiting, 1, static_cast<int>(std::max<milliseconds::rep>(0, left.count())));
        if (const std::optional<KillResultCode> result = termination.advance()) {
            return *result;
        }
    }
}

KillResultCode resultOf(ProcessTerminator::Started started)
{
    if (const auto *code = std::get_if<KillResultCode>(&started)) {
        return *code;
    }
    return waitFor(std::get<Termination>(started));
}

} // namespace

struct Termination::State
{
    FileDescriptor process;
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

std::optional<KillResultCode> Termination::advance()
{
    const KillResultCode ended =
        m_state->forced ? KillResultCode::ForceKilled : KillResultCode::Terminated;
    if (hasEnded(m_state->process)) {
        return ended;
    }
    if (Clock::now() < m_state->deadline) {
        return std::nullopt;
    }
    if (m_state->forced) {
        return ended;
    }
    if (const int code = sendSignal(m_state->process, SIGKILL); code != 0) {
        return code == ESRCH ? KillResultCode::Terminated : KillResultCode::PermissionDenied;
    }
    m_state->forced = true;
    m_state->deadline = Clock::now() + m_state->patience.afterForcing;
    return std::nullopt;
}

ProcessTerminator::ProcessTerminator(ListenerInventory &inventory)
    : ProcessTerminator(inventory, Patience{})
{
}

ProcessTerminator::ProcessTerminator(ListenerInventory &inventory, Patience patience)
    : m_inventory(inventory)
    , m_patience(patience)
{
}

ProcessTerminator::Started ProcessTerminator::begin(std::int32_t pid,
                                                    std::optional<std::int32_t> caller)
{
    return begin(pid, m_inventory.told(pid), caller);
}

ProcessTerminator::Started ProcessTerminator::begin(const ProcessIdentity &process,
                                                    std::optional<std::int32_t> caller)
{
    return begin(process.pid, process, caller);
}

ProcessTerminator::Started ProcessTerminator::begin(std::int32_t pid, const Expected &expected,
                                                    std::optional<std::int32_t> caller)
{
    if (pid <= 0) {
        return KillResultCode::NotFound;
    }
    const FileDescriptor root = ProcFs::openRoot();
    if (pid == initProcess || pid == ::getpid() || pid == caller ||
        ProcFs::numbering(root.get()) == ProcFs::Numbering::Foreign) {
        return KillResultCode::PermissionDenied;
    }
    FileDescriptor process = openProcessDescriptor(pid);
    if (!process) {
        return codeForNoDescriptor(errno);
    }
    if (const std::optional<KillResultCode> refused = refusal(pid, expected, process)) {
        return *refused;
    }
    // The process that was looked at is the one that will be signalled.
    if (ProcFs::numberOf(root.get(), process.get()) != pid) {
        return hasEnded(process) ? KillResultCode::NotFound : KillResultCode::PermissionDenied;
    }
    // A stopped process would never get to handle the signal.
    const bool stopped = isStopped(root.get(), pid);
    if (const int code = sendSignal(process, SIGTERM); code != 0) {
        return codeForFailure(code);
    }
    if (stopped) {
        sendSignal(process, SIGCONT);
    }
    auto state = std::make_unique<Termination::State>();
    state->process = std::move(process);
    state->patience = m_patience;
    state->deadline = Clock::now() + m_patience.beforeForcing;
    return Termination(std::move(state));
}

/// The answer to give instead of ending the process behind the descriptor; nothing when it is the
/// one that was meant, and listens. The inventory looks at the process after the descriptor was
/// opened, and the process still lives after that look: so both are the same.
std::optional<KillResultCode> ProcessTerminator::refusal(std::int32_t pid, const Expected &expected,
                                                         const FileDescriptor &process) const
{
    const std::variant<Ownership, ListingError> looked = m_inventory.ownership(pid);
    if (hasEnded(process)) {
        return KillResultCode::NotFound;
    }
    const auto *ownership = std::get_if<Ownership>(&looked);
    if (ownership == nullptr) {
        return KillResultCode::PermissionDenied;
    }
    const bool owns = ownership->kind != Ownership::Kind::None;
    if (expected && (!owns || ownership->process != *expected)) {
        return KillResultCode::NotFound;
    }
    // What a group led to may be a client of the server, and a service manager holds its sockets
    // for others.
    const bool mayEnd = ownership->kind == Ownership::Kind::Seen && !SessionGuard::part(pid);
    return mayEnd ? std::nullopt : std::optional(KillResultCode::PermissionDenied);
}

KillResultCode ProcessTerminator::terminate(std::int32_t pid, std::optional<std::int32_t> caller)
{
    return resultOf(begin(pid, caller));
}

KillResultCode ProcessTerminator::terminate(const ProcessIdentity &process,
                                            std::optional<std::int32_t> caller)
{
    return resultOf(begin(process, caller));
}

} // namespace Tarnwick
