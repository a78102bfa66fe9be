// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "Shared/FileDescriptor.h"
#include "Shared/HelperProtocol.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

class ProcessDescriptor;

/// Why a kill has no outcome: it could not be carried out, or has not ended the process yet.
struct KillError
{
    int code = 0;        ///< errno; ETIMEDOUT for a process that SIGKILL has not ended in time
    std::string message; ///< for people
};

using KillAnswer = std::variant<KillResultCode, KillError>;

/// An end that has been asked for and is being awaited. Owned by whoever waits: an event loop polls
/// `descriptor()` for reading until `deadline()` and calls `advance()` after either.
class Termination
{
public:
    struct State;
    explicit Termination(std::unique_ptr<State> state);
    ~Termination();
    Termination(Termination &&) noexcept;
    Termination &operator=(Termination &&) noexcept;

    /// Becomes readable when the process has ended. Valid as long as this object.
    [[nodiscard]] int descriptor() const;

    /// When to call `advance()` although the process has not ended.
    [[nodiscard]] std::chrono::steady_clock::time_point deadline() const;

    /// Looks at the process: the answer when it has ended or is past waiting for, nothing when
    /// there is more to wait for. Past the first deadline it kills the process forcibly. A success
    /// only when the process has ended.
    [[nodiscard]] std::optional<KillAnswer> advance();

private:
    std::unique_ptr<State> m_state;
};

/// Ends the process behind a listener, and no other: it asks the process to end, waits, and then
/// forces it. The target must be the very process that was reported and be seen to have a listening
/// socket now. Every signal goes through a descriptor of the process, so that an identifier that
/// was used again is never hit. Three steps, so that many targets share one scan: admit(), a scan
/// by the caller, start(). Belongs to the inventory's thread.
class ProcessTerminator
{
public:
    struct Patience
    {
        std::chrono::milliseconds beforeForcing{3000};
        /// A process in an uninterruptible wait or a frozen control group does not end from
        /// SIGKILL before that is over; nobody waits longer for it than this.
        std::chrono::milliseconds afterForcing{2000};
    };

    explicit ProcessTerminator(ListenerInventory &inventory);
    ProcessTerminator(ListenerInventory &inventory, Patience patience);

    /// A process that is the one that was reported; whether it listens is still to be seen.
    struct Target
    {
        std::int32_t pid = 0;
        FileDescriptor process; ///< of pidfd_open(2)
    };
    using Admitted = std::variant<Target, KillResultCode, KillError>;

    /// Checks what takes no scan. @p meant is the process that was reported under @p pid to whoever
    /// asks, if one was. `NotFound` for what names no process (0, negative numbers, threads), for a
    /// process that has ended, and where another than @p meant has its identifier;
    /// `PermissionDenied` for process 1, this process, its @p caller, a process that was not
    /// reported, and where the system gives no descriptor of the process.
    [[nodiscard]] Admitted admit(std::int32_t pid, const ProcessIdentity *meant,
                                 std::optional<std::int32_t> caller = std::nullopt) const;

    using Started = std::variant<Termination, KillResultCode, KillError>;

    /// Asks a target to end, by what a scan that began after admit() has found it to own.
    /// `NotFound` when it has ended or listens no more; `PermissionDenied` when it cannot be seen
    /// to listen, is a service manager, which listens only for its services, or something else that
    /// the session lives on (SessionGuard), forwards its port to a process in another network
    /// namespace (forwardingOf()), or may not be signalled.
    [[nodiscard]] Started start(Target target, const Ownership &ownership) const;

    /// All three steps, with a scan of their own.
    [[nodiscard]] Started startAlone(const ProcessIdentity &process,
                                     std::optional<std::int32_t> caller = std::nullopt);

    /// The same, and the wait: blocks until the process has ended or is past waiting for.
    [[nodiscard]] KillAnswer terminate(const ProcessIdentity &process,
                                       std::optional<std::int32_t> caller = std::nullopt);

    /// Ends processes that listen on nothing themselves and belong to the server of a listener, as
    /// the caller has found out: each is to be the very process of its identity. All are asked to
    /// end, in their order, before any is awaited. What admit() and start()
    /// refuse is refused, but for want of a listening socket; and so are the ancestors of this
    /// process. An answer for each.
    [[nodiscard]] std::vector<KillAnswer>
    terminateRelated(std::span<const ProcessIdentity> processes) const;

private:
    [[nodiscard]] Started signal(ProcessDescriptor &process, std::int32_t pid) const;
    [[nodiscard]] Started startRelated(const ProcessIdentity &identity) const;
    [[nodiscard]] std::optional<KillAnswer> refusalOfUnseen(std::int32_t pid) const;

    ListenerInventory &m_inventory;
    Patience m_patience;
    FileDescriptor m_root;
    bool m_hasOwnNumbers; ///< whether /proc has the identifiers that system calls understand
};

} // namespace Tarnwick
