// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/DescriptorOutput.h"
#include "CommandLine/KeyDecoder.h"
#include "CommandLine/SignalPipe.h"
#include "CommandLine/TerminalRestorer.h"
#include "CommandLine/WatchSession.h"
#include "Helper/ListenerMonitor.h"

#include <memory>
#include <optional>

#include <termios.h>

namespace Tarnwick {

/// A watch in the real world. In place it has the terminal's alternate screen without a cursor,
/// takes keys as they are pressed, and gives the terminal back while it is stopped by the user
/// (SIGTSTP) and before any other signal ends the process. SIGINT, SIGTERM and SIGHUP mean to quit.
/// A ListenerMonitor of its own detects changes.
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

    [[nodiscard]] WatchEvent await(Clock::time_point deadline, int descriptor) override;
    [[nodiscard]] Key takeKey() override;
    void discardKeys() override;

private:
    void enter();
    void leave();
    void suspend();
    [[nodiscard]] std::optional<WatchEvent> eventFromSignal();
    [[nodiscard]] Clock::time_point nextWake(Clock::time_point deadline);
    [[nodiscard]] std::optional<WatchEvent> eventFromKeys(bool isReadable);
    [[nodiscard]] bool readKeys();

    std::unique_ptr<SignalPipe> m_signals;
    DescriptorOutput &m_output;
    int m_input;
    Presentation m_presentation;
    std::optional<termios> m_termiosBefore;     ///< set while keys are taken as they are pressed
    std::optional<TerminalRestorer> m_restorer; ///< while the terminal is not as it was
    ListenerMonitor m_monitor;
    KeyDecoder m_keys;
    std::optional<Key> m_nextKey;     ///< that was decoded and not taken yet
    Clock::time_point m_keysDeadline; ///< by which the rest of an incomplete key must have come
};

} // namespace Tarnwick
