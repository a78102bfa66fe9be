// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

namespace Tarnwick {

/// A process of the test's own, a copy of the test program, whose threads PID/fd does not tell
/// everything of. It ends with the object.
class ThreadedProcess
{
public:
    enum class Kind {
        WithoutMainThread,  ///< listens; only the second thread goes on
        WithOwnDescriptors, ///< the second thread shares none with the main thread, and listens
        Crowded,            ///< each of many threads has descriptors of its own; none listens
    };

    /// With @p threads besides the main thread, where the kind is Crowded; else with one. Throws
    /// std::runtime_error when there can be no such process.
    explicit ThreadedProcess(Kind kind, int threads = 1);
    ~ThreadedProcess();
    ThreadedProcess(const ThreadedProcess &) = delete;
    ThreadedProcess &operator=(const ThreadedProcess &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// The port on which it listens, or 0.
    [[nodiscard]] int port() const { return m_setup.port; }

    /// How many threads besides the main thread there could be.
    [[nodiscard]] int threads() const { return m_setup.threads; }

    /// Waits until the main thread has ended; false when it does not.
    [[nodiscard]] bool awaitEndOfMainThread() const;

private:
    /// What the process reports once its threads are as they should be.
    struct Setup
    {
        int port = 0;
        int threads = 0;
    };

    [[noreturn]] static void live(Kind kind, int threads, int channel);
    [[noreturn]] static void liveWithoutMainThread(int channel);
    [[noreturn]] static void liveWithOwnDescriptors(int channel);
    [[noreturn]] static void liveCrowded(int threads, int channel);
    static void report(const Setup &setup, int channel);

    pid_t m_pid = -1;
    Setup m_setup;
};

} // namespace Tarnwick
