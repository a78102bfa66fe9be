// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A process of the test's own that does what it is told, and ends with this object. It leads a
/// process group, and those that it forks are members of that one. What it is told it has done when
/// the call returns. A command that fails throws std::runtime_error.
class Puppet
{
public:
    /// A puppet that runs the puppet program itself, or @p program, a copy of it, with @p arguments
    /// (the first of them its own name).
    Puppet();
    explicit Puppet(const std::filesystem::path &program,
                    const std::vector<std::string> &arguments = {"puppet"});
    ~Puppet();
    Puppet(Puppet &&) noexcept = default;
    Puppet &operator=(Puppet &&) = delete;

    /// The program that puppets run.
    [[nodiscard]] static std::filesystem::path program();

    [[nodiscard]] pid_t pid() const { return m_pid; }

    struct Listener
    {
        int port = 0;
        int descriptor = -1;
    };
    enum class Family { V4, V6, Dual };

    /// Listens on the loopback address, on any port when @p port is 0, under any number when
    /// @p descriptor is negative.
    Listener listen(Family family = Family::V4, int descriptor = -1, int port = 0);

    void close(int descriptor);
    void duplicate(int from, int to);
    /// A child of this puppet; it has what the puppet has open.
    [[nodiscard]] Puppet fork();
    /// Becomes another program: a copy of the puppet's.
    void exec(const std::filesystem::path &program, const std::vector<std::string> &arguments);
    /// Passes an open descriptor to another puppet, which gets it under the number told.
    int pass(int descriptor, Puppet &receiver, int as = -1);
    /// The test's own descriptor for what the puppet has open.
    [[nodiscard]] FileDescriptor give(int descriptor);
    void rename(std::string_view name);
    void retitle(std::string_view title);
    void changeDirectory(const std::filesystem::path &folder);
    void ignoreSignal(int signal);
    void joinGroup(pid_t group); ///< 0 makes one of its own
    void startSession();
    void adoptOrphans(); ///< of its descendants, as a subreaper (prctl(2))
    void changeUser(uid_t user);
    void hide(); ///< lets nobody but root look into it
    void openFiles(int count);
    [[nodiscard]] pid_t makeZombie(); ///< a child that has ended, unreaped
    [[nodiscard]] pid_t startThread();
    void stop(); ///< as SIGSTOP does

    /// Moves the process into a network namespace of its own, in which @p address (IPv4) is a local
    /// one besides that of the loopback interface. False where this user may not.
    [[nodiscard]] bool enterNetwork(const std::string &address);

    /// Waits until the process sleeps, or has ended: then all of its processor time is counted.
    void awaitRest() const;

    /// Ends the process and waits for its end.
    void end();

    /// Whether the process has ended, waiting for it at most five seconds.
    [[nodiscard]] bool awaitEnd() const;
    [[nodiscard]] bool hasEnded() const;

private:
    Puppet(pid_t pid, FileDescriptor channel, bool ownChild);
    std::string tell(const std::vector<std::string> &words, int descriptor = -1);

    pid_t m_pid = -1;
    FileDescriptor m_channel;
    FileDescriptor m_process; ///< so that no other process is ever signalled
    bool m_ownChild = true;
};

} // namespace Tarnwick
