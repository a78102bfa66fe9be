// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/CommandSystem.h"
#include "CommandLine/Console.h"
#include "CommandLine/FreePlan.h"
#include "CommandLine/KillCommand.h"
#include "CommandLine/Listener.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// Ends whole servers, each after a question, and waits until their ports can be bound. What a
/// server consists of, FreePlanner finds out; with --dry-run its plans are printed instead. The
/// outcomes go to the output, one line for each port, and everything else to the errors.
class FreeCommand
{
public:
    FreeCommand(FreeArguments arguments, const Console &console, const CommandSystem &system);
    FreeCommand(FreeArguments arguments, const Console &console, const CommandSystem &system,
                KillCommand::Release release);

    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] bool updateListeners();
    [[nodiscard]] std::vector<FreePlan> plans() const;
    [[nodiscard]] bool isListenedOn(std::int64_t port) const;
    [[nodiscard]] ExitCode show(const FreePlan &plan);
    [[nodiscard]] ExitCode carryOut(const FreePlan &plan);
    [[nodiscard]] std::string description(const FreePlan &plan) const;
    [[nodiscard]] ExitCode end(const FreePlan &plan);
    [[nodiscard]] ExitCode outcomeOf(const FreePlan::Step &step, const KillAnswer &answer) const;
    [[nodiscard]] ExitCode checkPort(const FreePlan &plan, std::int64_t port);
    [[nodiscard]] bool isInUse(std::int64_t port,
                               const std::vector<ListenAddress> &addresses) const;
    [[nodiscard]] ExitCode checkUnusedPort(std::int64_t port);
    void printHolders(std::int64_t port);
    [[nodiscard]] ExitCode report(std::int64_t port, std::string_view outcome, ExitCode code) const;

    FreeArguments m_arguments;
    const Console &m_console;
    CommandSystem m_system;
    KillCommand::Release m_release;
    std::vector<Listener> m_listeners;
};

} // namespace Tarnwick
