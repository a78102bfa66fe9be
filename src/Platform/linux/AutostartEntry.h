// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LoginItem.h"

#include <QByteArray>

#include <filesystem>
#include <string>

namespace Tarnwick {

/// The login item as freedesktop.org's Desktop Application Autostart Specification 0.5 has it: a
/// desktop entry in the user's autostart folder. It counts as switched off by "Hidden", and by the
/// key with which desktops' own settings do it; what else is in an entry stays as it is. A file
/// that cannot be opened is left alone; one that can is replaced as a whole, and is on the disk
/// when a call returns.
class AutostartEntry : public LoginItem
{
public:
    /// Where the user's entries are.
    [[nodiscard]] static std::filesystem::path userFolder();

    /// Of the program @p application, an absolute path, in @p folder, which is made with the
    /// registration.
    AutostartEntry(std::filesystem::path folder, const std::filesystem::path &application);

    /// Enabled only by an entry that starts this very program; NotFound where it starts another
    /// one, or nothing. A registration then makes it ours.
    [[nodiscard]] Status status() const override;
    [[nodiscard]] Failure registerApplication() override;
    /// Deletes the entry, or hides it when there is something in it that is not ours.
    [[nodiscard]] Failure unregisterApplication() override;

    [[nodiscard]] std::filesystem::path file() const;

private:
    [[nodiscard]] Failure write(const QByteArray &text) const;
    [[nodiscard]] Failure erase() const;
    void synchroniseFolder() const;
    [[nodiscard]] std::string failureText(const std::string &words) const;

    std::filesystem::path m_folder;
    QByteArray m_application;
};

} // namespace Tarnwick
