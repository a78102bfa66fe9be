// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A program that a test started. It is killed with this object, and with the thread that made it,
/// so that a test that fails or dies leaves nothing behind. What it writes goes to a file: nobody
/// has to read it for the program to go on.
class ChildProcess
{
public:
    struct Setup
    {
        std::filesystem::path output{};         ///< for both outputs; nowhere when empty
        std::vector<std::string> environment{}; ///< "NAME=value", besides the test's own
    };

    /// Throws std::runtime_error when no process can be made. A program that cannot be run ends
    /// with status 127.
    explicit ChildProcess(const std::vector<std::string> &command, const Setup &setup);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Sends a signal, never to any other process.
    void signal(int number) const;

    [[nodiscard]] bool hasEnded() const;

    /// The status that the program ended with, 128 and the number of the signal that ended it;
    /// nothing when it goes on for longer than @p patience.
    [[nodiscard]] std::optional<int> awaitEnd(std::chrono::milliseconds patience);

private:
    pid_t m_pid = -1;
    FileDescriptor m_process;
    std::optional<int> m_status;
};

} // namespace Tarnwick
