// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

namespace Tarnwick {

/// A real sshd(8) of the test's own on the loopback address, with keys of its own, into which this
/// user may log in; and an `ssh` that reaches it as the hosts "shop.example", "bakery.example" and
/// "cafe.example". Nobody listens at "closed.example", and "stranger.example" refuses the user.
class SshServer
{
public:
    /// Nothing where the server is not on this machine, or this user cannot start it. What it runs
    /// finds tarnwickctl, unless @p hasProgram is false.
    [[nodiscard]] static std::unique_ptr<SshServer> start(bool hasProgram = true);

    /// A folder for the front of PATH, with an `ssh` that uses only the test's configuration.
    [[nodiscard]] std::filesystem::path clientFolder() const { return m_folder.path() / "bin"; }

    /// Whether the log of the server came to contain @p text after what earlier calls have found.
    [[nodiscard]] bool logs(std::string_view text) { return m_server->shows(text); }

private:
    SshServer() = default;

    [[nodiscard]] bool run(const std::filesystem::path &program, bool hasProgram);
    void writeClient(int port, int closedPort) const;

    TemporaryFolder m_folder;
    FileDescriptor m_reserved; ///< bound to the server's port, and not listening
    FileDescriptor m_closed;   ///< the same for the port at which nobody listens
    std::optional<RunningProgram> m_server;
};

} // namespace Tarnwick
