// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// The files of a service manager's units (systemd.unit(5)), read as the manager reads them: the
/// first folder that has a unit decides, and drop-ins add to it. What the manager was told in
/// another way, and has not written to a file, is not seen. Any thread.
class UnitFiles
{
public:
    /// The units of the system's service manager.
    [[nodiscard]] static UnitFiles ofSystem();

    /// The units of the service manager of @p user. The folders in the home directory are read
    /// only where that is the user of this process: another's may lie on a file system that does
    /// not answer.
    [[nodiscard]] static UnitFiles ofUser(uid_t user);

    /// The units in @p folders, the first of which comes first.
    explicit UnitFiles(std::vector<std::string> folders);

    /// Whether there is a file for @p unit, or for the template that it is an instance of.
    [[nodiscard]] bool has(const std::string &unit) const;

    /// What @p unit has for @p key, "ListenStream", in @p section, "Socket": all values in their
    /// order; an empty one discards those before it.
    [[nodiscard]] std::vector<std::string> values(const std::string &unit, std::string_view section,
                                                  std::string_view key) const;

    /// The last of them; empty where there is none.
    [[nodiscard]] std::string value(const std::string &unit, std::string_view section,
                                    std::string_view key) const;

    /// The socket unit that listens on the TCP port @p port; nothing where none does, or where
    /// several could.
    [[nodiscard]] std::optional<std::string> socketUnit(std::uint16_t port) const;

    /// The service that @p socketUnit starts: "cups.service", or "sshd@.service", where each
    /// connection gets an instance of its own.
    [[nodiscard]] std::string serviceOf(const std::string &socketUnit) const;

    /// The TCP port of a value of ListenStream: "8080", "127.0.0.1:8080", "[::1]:8080". Nothing for
    /// other sockets.
    [[nodiscard]] static std::optional<std::uint16_t> portOf(std::string_view listenStream);

    /// Appends to @p values what the text of a unit's file has for @p key in @p section.
    static void parse(std::string_view text, std::string_view section, std::string_view key,
                      std::vector<std::string> &values);

private:
    [[nodiscard]] std::vector<std::string> namesOfSocketUnits() const;
    [[nodiscard]] std::vector<std::string> files(const std::string &unit) const;
    [[nodiscard]] bool isWanted(const std::string &unit) const;

    std::vector<std::string> m_folders;
};

} // namespace Tarnwick
