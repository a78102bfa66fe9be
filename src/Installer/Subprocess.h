// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A program that was started with pipes as its standard input and output. It is killed, and waited
/// for, with this object unless it has ended; descriptors of this process are closed in it if they
/// have FD_CLOEXEC.
class Subprocess
{
public:
    /// How it ended.
    struct End
    {
        int status = 0; ///< its exit status, or the signal's number
        bool isSignal = false;
    };

    /// Starts @p command, whose program is looked up in PATH. Where that fails, errno has the
    /// reason and nothing is returned. @p errors becomes its standard error; -1 leaves our own.
    [[nodiscard]] static std::optional<Subprocess> start(const std::vector<std::string> &command,
                                                         int errors = -1);

    ~Subprocess();
    Subprocess(Subprocess &&other) noexcept;
    Subprocess &operator=(Subprocess &&other) = delete;

    /// Its standard input, for writing.
    [[nodiscard]] FileDescriptor &input() { return m_input; }
    /// Its standard output, for reading.
    [[nodiscard]] FileDescriptor &output() { return m_output; }

    /// Waits for the end, without a limit.
    [[nodiscard]] End awaitEnd();
    /// Waits for the end; nothing when @p timeout has passed before.
    [[nodiscard]] std::optional<End> awaitEnd(std::chrono::milliseconds timeout);

private:
    Subprocess() = default;

    pid_t m_pid = -1; ///< until it was waited for
    FileDescriptor m_process;
    FileDescriptor m_input;
    FileDescriptor m_output;
};

} // namespace Tarnwick
