// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A program that was started with pipes as its standard input and output, unless it shares those
/// of this process. It is killed with this object unless it has ended, and waited for, 2 s at most;
/// descriptors of this process are closed in it if they have FD_CLOEXEC.
class Subprocess
{
public:
    /// How it ended.
    struct End
    {
        enum class How : std::uint8_t {
            Exited,
            Signalled,
            Unknown, ///< waitpid(2) failed, as where SIGCHLD is ignored: no success
        };

        How how = How::Exited;
        int status = 0; ///< its exit status, the signal's number, or the errno of waitpid(2)

        [[nodiscard]] bool isSuccess() const { return how == How::Exited && status == 0; }
    };

    struct Setup
    {
        int errors = -1; ///< becomes its standard error; -1 leaves that of this process
        /// Leaves it the standard input and output of this process, for a program that is used by
        /// hand, instead of the pipes.
        bool sharesStreams = false;
        /// Sends it SIGTERM when the thread that started it ends in any way, be it that this
        /// process is killed.
        bool endsWithStarter = false;
        /// "NAME=value", all of them; where absent, those of this process.
        std::optional<std::vector<std::string>> environment{};
    };

    /// Starts @p command, whose program is looked up in PATH. Where that fails, errno has the
    /// reason and nothing is returned.
    [[nodiscard]] static std::optional<Subprocess> start(const std::vector<std::string> &command,
                                                         const Setup &setup);
    [[nodiscard]] static std::optional<Subprocess> start(const std::vector<std::string> &command);

    ~Subprocess();
    Subprocess(Subprocess &&other) noexcept;
    Subprocess &operator=(Subprocess &&other) = delete;

    /// Positive until the end was waited for, then -1.
    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Its standard input, for writing; closed where it has that of this process.
    [[nodiscard]] FileDescriptor &input() { return m_input; }
    /// Its standard output, for reading; likewise.
    [[nodiscard]] FileDescriptor &output() { return m_output; }

    /// Closes the pipes, and lets the program go on without this object.
    void detach();

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
