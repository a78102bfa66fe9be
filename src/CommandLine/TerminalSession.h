// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/DescriptorOutput.h"
#include "CommandLine/SignalPipe.h"
#include "CommandLine/TerminalRestorer.h"
#include "CommandLine/WatchSession.h"

#include <memory>
#include <optional>

#include <termios.h>

namespace Tarnwick {

/// A watch in the real world. In place it has the terminal's alternate screen without a cursor,
/// takes keys as they are pressed, and gives the terminal back while it is stopped by the user
/// (SIGTSTP) and before any other signal ends the process. SIGINT, SIGTERM and SIGHUP mean to quit;
/// so does the key "q".
class TerminalSession : public WatchSession
{
public:
    /// @p output outlives the session; @p input is where keys come from when it is a terminal.
    /// Null, with the reason in errno, when signals cannot be awaited.
    [[nodiscard]] static std::unique_ptr<TerminalSession> start(DescriptorOutput &output, int input,
                                                                Presentation presentation);
    /// For start().
    TerminalSession(std::unique_ptr<SignalPipe> signals, DescriptorOutput &output, int input,
                    Presentation presentation);
    ~TerminalSession() override;

    [[nodiscard]] WatchEvent await(std::chrono::steady_clock::time_point deadline) override;

private:
    void enter();
    void leave();
    void suspend();
    [[nodiscard]] std::optional<WatchEvent> eventFromSignal();
    [[nodiscard]] std::optional<WatchEvent> eventFromKeys();

    std::unique_ptr<SignalPipe> m_signals;
    DescriptorOutput &m_output;
    int m_input;
    Presentation m_presentation;
    std::optional<termios> m_termiosBefore;     ///< set while keys are taken as they are pressed
    std::optional<TerminalRestorer> m_restorer; ///< while the terminal is not as it was
};

} // namespace Tarnwick
