// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Environment.h"
#include "CommandLine/Key.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ProcessEnder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// Stops the process behind a row of a watch: asks, a second time for one of the system tier, has
/// it ended and waits without blocking. One process at a time. What is meant is the process that
/// the listing named when the question came up, however long the answer takes.
class WatchStop
{
public:
    /// @p ender outlives this object.
    WatchStop(ProcessEnder &ender, const Environment &environment)
        : m_ender(ender)
        , m_isRoot(environment.isRoot)
    {
    }

    /// Begins to ask about the owner of @p listener, one of @p all. Where it cannot be stopped,
    /// message() has the reason.
    void ask(const Listener &listener, std::span<const Listener> all);

    [[nodiscard]] bool isAsking() const { return m_stage == Stage::Asking || isAskingAgain(); }
    [[nodiscard]] bool isAskingAgain() const { return m_stage == Stage::AskingForSystem; }

    /// The question that is to be answered: "Stop node (pid 4711) on port 3000? [y/N]".
    [[nodiscard]] const std::string &question() const { return m_question; }

    /// "y" is yes and everything else no.
    void answer(const Key &key);

    /// Takes the question back, for @p reason.
    void cancel(std::string reason);

    /// "Stopping node (pid 4711)…" while the end is waited for, then the outcome, or why nothing
    /// was done; empty when there is nothing to report.
    [[nodiscard]] const std::string &message() const { return m_message; }
    /// Forgets the message unless something is being waited for.
    void dismissMessage();

    [[nodiscard]] int descriptor() const;
    [[nodiscard]] std::chrono::steady_clock::time_point deadline() const;
    /// Continues to wait; call when the descriptor is readable or the deadline has passed.
    void advance();

private:
    enum class Stage : std::uint8_t { Idle, Asking, AskingForSystem, Waiting };

    void start();
    void finish(const KillAnswer &answer);
    [[nodiscard]] std::string outcome(const KillAnswer &answer) const;

    ProcessEnder &m_ender;
    bool m_isRoot;
    Stage m_stage = Stage::Idle;
    PortEntry m_owner;
    std::vector<std::int64_t> m_ports; ///< of the owner
    std::optional<ProcessIdentity> m_identity;
    std::string m_question;
    std::string m_message;
    std::unique_ptr<PendingEnd> m_pending;
};

} // namespace Tarnwick
