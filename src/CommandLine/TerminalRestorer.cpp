// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TerminalRestorer.h"

#include <array>
#include <csignal>
#include <cstddef>

#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::array endingSignals{SIGQUIT, SIGILL,  SIGTRAP, SIGABRT, SIGBUS,  SIGFPE,
                                   SIGSEGV, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU, SIGSYS};

// A handler gets no argument of ours. Written only while no handler is installed.
TerminalRestorer::Terminal restored;
std::array<struct sigaction, endingSignals.size()> before;

/// Calls nothing but what signal-safety(7) allows.
extern "C" void restoreTerminal(int number)
{
    static_cast<void>(write(restored.output, restored.leave.data(), restored.leave.size()));
    if (restored.settings) {
        tcsetattr(restored.input, TCSANOW, &*restored.settings);
    }
    for (std::size_t index = 0; index < endingSignals.size(); ++index) {
        if (endingSignals[index] == number) {
            sigaction(number, &before[index], nullptr);
        }
    }
    // Pending until this handler returns.
    raise(number);
}

} // namespace

TerminalRestorer::TerminalRestorer(const Terminal &terminal)
{
    restored = terminal;
    struct sigaction action
    {
    };
    action.sa_handler = restoreTerminal;
    // SIGTTOU among them, which would stop a process in the background at tcsetattr().
    sigfillset(&action.sa_mask);
    for (std::size_t index = 0; index < endingSignals.size(); ++index) {
        sigaction(endingSignals[index], nullptr, &before[index]);
        if (before[index].sa_handler != SIG_IGN) {
            sigaction(endingSignals[index], &action, nullptr);
        }
    }
}

TerminalRestorer::~TerminalRestorer()
{
    for (std::size_t index = 0; index < endingSignals.size(); ++index) {
        sigaction(endingSignals[index], &before[index], nullptr);
    }
}

} // namespace Tarnwick
