// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/ApplicationBundle.h"
#include "Platform/linux/AutostartEntry.h"

#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace Tarnwick {

/// The application's folder on Linux. One that can be moved as a whole says so by a file named
/// `.tarnwick-portable` in it, which lists what it consists of; the executable lies in that folder
/// itself or in a folder of it, such as `bin`. A copy below `/usr/` belongs to the system whatever
/// it says, and a build tree has no such file. The copy is made by `tarnwick-install`, which lies
/// beside the executable and asks for the administrator's password with pkexec(1).
class PortableCopy : public ApplicationBundle
{
public:
    struct Places
    {
        std::filesystem::path executable;
        std::string applications;          ///< as in ApplicationBundle
        std::string userApplications;      ///< as in ApplicationBundle
        AutostartEntry::Folders autostart; ///< of what starts with the session
        std::optional<pid_t> instance{};   ///< that is to have ended when a copy is opened
    };

    explicit PortableCopy(Places places);

    [[nodiscard]] std::string path() const override;
    [[nodiscard]] bool isPortable() const override;
    [[nodiscard]] std::string applications() const override { return m_places.applications; }
    [[nodiscard]] std::string userApplications() const override
    {
        return m_places.userApplications;
    }
    /// A failure changes nothing, and is logged in one line. When the installer ends otherwise than
    /// with success after the copy has got its place, that is done, and logged as well.
    Privileged runPrivileged(const BundleCopy &copy) override;
    void takeAlong(const std::string &path) override;
    /// Waits up to 10 s for the end of the instance: a copy that met it would leave all to it.
    [[nodiscard]] std::string openCommand(const std::string &path) const override;
    void launch(const std::string &program, const std::vector<std::string> &arguments) override;
    void terminate() override;
    [[nodiscard]] QVariantMap information() const override;

private:
    [[nodiscard]] std::filesystem::path executableIn(const std::filesystem::path &path) const;

    Places m_places;
    std::optional<std::filesystem::path> m_root; ///< the folder with the marker
};

} // namespace Tarnwick
