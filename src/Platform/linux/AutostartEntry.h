// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LoginItem.h"

#include <QByteArray>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class DesktopEntry;

/// The login item as freedesktop.org's Desktop Application Autostart Specification 0.5 has it: a
/// desktop entry in the user's autostart folder, or else one of the same name in a folder for all
/// users. What counts is what the session would do with it, as CurrentDesktop knows; what else is
/// in an entry stays, as a comment where not every desktop takes a line for the same. Only the
/// user's file is ever written. One that cannot be opened is left alone; one that can is replaced
/// as a whole, and is on the disk when a call returns.
class AutostartEntry : public LoginItem
{
public:
    /// Where entries are. The user's folder is made with the first file in it.
    struct Folders
    {
        std::filesystem::path user;
        std::vector<std::filesystem::path> system; ///< the most important first

        [[nodiscard]] static Folders ofSession();
    };

    /// Of the program @p application, an absolute path.
    AutostartEntry(Folders folders, const std::filesystem::path &application);

    /// Enabled only by an entry that starts this very program; NotFound where it starts another
    /// one, or nothing. A registration then makes it ours.
    [[nodiscard]] Status status() const override;
    /// Fails, too, where the session would not read the entry for a line of the user's in it.
    [[nodiscard]] Failure registerApplication() override;
    /// Deletes the user's entry, or hides it when there is something in it that is not ours or
    /// when one of the system would start the application instead.
    [[nodiscard]] Failure unregisterApplication() override;

    /// The user's.
    [[nodiscard]] std::filesystem::path file() const;

private:
    [[nodiscard]] std::optional<std::filesystem::path> systemFile() const;
    [[nodiscard]] bool isStartedBySystem() const;
    void describe(DesktopEntry &entry) const;
    [[nodiscard]] Failure write(const QByteArray &text) const;
    [[nodiscard]] Failure erase() const;
    void synchroniseFolder() const;
    [[nodiscard]] std::string failureText(const std::string &words) const;

    Folders m_folders;
    QByteArray m_application;
};

} // namespace Tarnwick
