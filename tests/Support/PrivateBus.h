// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A message bus of the test's own, of the kind that a session has: it knows no services but those
/// that the test gives it, and it ends with this object. Belongs to the thread that made it.
class PrivateBus
{
public:
    struct Options
    {
        bool letsEveryUserIn = false;
        std::string configuration{}; ///< more of it, as dbus-daemon(1) reads it
    };

    /// Runs when the constructor returns. Throws std::runtime_error when it cannot be had.
    PrivateBus()
        : PrivateBus(Options{})
    {
    }
    explicit PrivateBus(const Options &options);
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    /// As in DBUS_SESSION_BUS_ADDRESS; stays the same over a restart.
    [[nodiscard]] std::string address() const;
    /// What a program on this bus has in its environment.
    [[nodiscard]] std::vector<std::string> environment() const;

    /// An empty folder at first; the bus looks there when a name is asked for that it does not
    /// know.
    [[nodiscard]] std::filesystem::path services() const { return m_folder.path() / "services"; }

    /// Ends the bus as a session's end does, and so every connection to it.
    void stop();
    /// Starts it again under the same address. Nothing when it runs.
    void start();

    /// Keeps the bus from doing anything until it is told to go on.
    void pause() const;
    void resume() const;

    /// What the bus itself has written.
    [[nodiscard]] std::string log() const;

    [[nodiscard]] bool isRunning() const { return m_daemon != nullptr; }
    [[nodiscard]] pid_t pid() const { return m_daemon->pid(); }

private:
    [[nodiscard]] std::filesystem::path socket() const { return m_folder.path() / "bus"; }
    [[nodiscard]] std::filesystem::path configuration() const { return m_folder.path() / "conf"; }
    void writeConfiguration(const Options &options) const;
    void awaitSocket();

    TemporaryFolder m_folder;
    std::unique_ptr<ChildProcess> m_daemon;
};

} // namespace Tarnwick
