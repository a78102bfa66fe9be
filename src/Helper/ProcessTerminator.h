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
#include <variant>

namespace Tarnwick {

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

    /// Looks at the process: the result when it has ended or is past waiting for, nothing when
    /// there is more to wait for. Past the first deadline it kills the process forcibly.
    [[nodiscard]] std::optional<KillResultCode> advance();

private:
    std::unique_ptr<State> m_state;
};

/// Ends the process behind a listener, and no other: it asks the process to end, waits, and then
/// forces it. The target must be the very process that was meant and be seen to have a listening
/// socket now. Every signal goes through a descriptor of the process, so that an identifier that
/// was used again is never hit. Belongs to the inventory's thread.
class ProcessTerminator
{
public:
    struct Patience
    {
        std::chrono::milliseconds beforeForcing{3000};
        /// A process in an uninterruptible wait ends only when that wait does; its end is certain,
        /// and nobody waits longer for it than this.
        std::chrono::milliseconds afterForcing{2000};
    };

    explicit ProcessTerminator(ListenerInventory &inventory);
    ProcessTerminator(ListenerInventory &inventory, Patience patience);

    using Started = std::variant<KillResultCode, Termination>;

    /// Checks the target and asks it to end. It must be the process that the inventory told under
    /// that identifier last, if it told one. A code at once: `NotFound` for what names no process
    /// (0, negative numbers, threads), for another process than the one told, and for one that has
    /// ended or listens no more; `PermissionDenied` for process 1, this process, its @p caller, a
    /// process that does not listen or cannot be seen to, a service manager, which listens only for
    /// its services, what the session lives on (SessionGuard), and one that the system does not let
    /// us look into or signal.
    [[nodiscard]] Started begin(std::int32_t pid,
                                std::optional<std::int32_t> caller = std::nullopt);

    /// The same for a certain process; `NotFound` for any other with its identifier.
    [[nodiscard]] Started begin(const ProcessIdentity &process,
                                std::optional<std::int32_t> caller = std::nullopt);

    /// As begin(), and waits for the result.
    [[nodiscard]] KillResultCode terminate(std::int32_t pid,
                                           std::optional<std::int32_t> caller = std::nullopt);
    [[nodiscard]] KillResultCode terminate(const ProcessIdentity &process,
                                           std::optional<std::int32_t> caller = std::nullopt);

private:
    using Expected = std::optional<ProcessIdentity>;
    [[nodiscard]] Started begin(std::int32_t pid, const Expected &expected,
                                std::optional<std::int32_t> caller);
    [[nodiscard]] std::optional<KillResultCode> refusal(std::int32_t pid, const Expected &expected,
                                                        const FileDescriptor &process) const;

    ListenerInventory &m_inventory;
    Patience m_patience;
};

} // namespace Tarnwick
