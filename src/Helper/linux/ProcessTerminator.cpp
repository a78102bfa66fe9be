// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "Helper/ListenerInventory.h"
#include "Helper/linux/ProcFs.h"
#include "Shared/FileDescriptor.h"

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

bool isStopped(pid_t pid)
{
    const FileDescriptor root = ProcFs::openRoot();
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(root.get(), pid);
    return stat && stat->state == 'T';
}

KillResultCode codeForFailure(int code)
{
    return code == ESRCH ? KillResultCode::NotFound : KillResultCode::PermissionDenied;
}

/// Whether the process behind the descriptor is a listener, and the one that was listed under its
/// identifier; nothing when it is, else the answer to give. The inventory looks at the process
/// after the descriptor was opened, and the process still lives after that look: so both are the
/// same.
std::optional<KillResultCode> refusal(ListenerInventory &inventory, pid_t pid,
                                      const FileDescriptor &process,
                                      const std::optional<ProcessIdentity> &before)
{
    const Listing listing = inventory.list();
    if (hasEnded(process)) {
        return KillResultCode::NotFound;
    }
    if (std::holds_alternative<ListingError>(listing)) {
        return KillResultCode::PermissionDenied;
    }
    const std::optional<ProcessIdentity> now = inventory.listed(pid);
    if (before) {
        return now == before ? std::nullopt : std::optional(KillResultCode::NotFound);
    }
    return now ? std::nullopt : std::optional(KillResultCode::PermissionDenied);
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
    if (pid <= 0) {
        return KillResultCode::NotFound;
    }
    if (pid == initProcess || pid == ::getpid() || pid == caller) {
        return KillResultCode::PermissionDenied;
    }
    const std::optional<ProcessIdentity> before = m_inventory.listed(pid);
    FileDescriptor process = openProcessDescriptor(pid);
    if (!process) {
        const bool outOfDescriptors = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
        return outOfDescriptors ? KillResultCode::PermissionDenied : KillResultCode::NotFound;
    }
    if (const std::optional<KillResultCode> refused = refusal(m_inventory, pid, process, before)) {
        return *refused;
    }
    // A stopped process would never get to handle the signal.
    const bool stopped = isStopped(pid);
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

KillResultCode ProcessTerminator::terminate(std::int32_t pid, std::optional<std::int32_t> caller)
{
    Started started = begin(pid, caller);
    if (const auto *code = std::get_if<KillResultCode>(&started)) {
        return *code;
    }
    auto &termination = std::get<Termination>(started);
    for (;;) {
        pollfd waiting = {.fd = termination.descriptor(), .events = POLLIN, .revents = 0};
        const auto left = std::chrono::ceil<milliseconds>(termination.deadline() - Clock::now());
        ::poll(&waiting, 1, static_cast<int>(std::max<milliseconds::rep>(0, left.count())));
        if (const std::optional<KillResultCode> result = termination.advance()) {
            return *result;
        }
    }
}

} // namespace Tarnwick
