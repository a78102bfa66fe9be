// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/BundleCopy.h"

#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// The running application as one thing that can be copied to another place and started there, and
/// the places where applications belong. Paths are absolute, in the bytes of the file system. Main
/// thread.
class ApplicationBundle
{
public:
    enum class Privileged : std::uint8_t {
        Done,
        Failed,     ///< the user did not allow it, or it could not be done
        Impossible, ///< it could not even be attempted
    };

    ApplicationBundle() = default;
    virtual ~ApplicationBundle() = default;
    ApplicationBundle(const ApplicationBundle &) = delete;
    ApplicationBundle &operator=(const ApplicationBundle &) = delete;

    /// The full path of the bundle, without a slash at its end.
    [[nodiscard]] virtual std::string path() const = 0;

    /// Whether the bundle is whole in itself, so that a copy of it runs anywhere.
    [[nodiscard]] virtual bool isPortable() const = 0;

    /// The folder for applications of all users, with a slash at its end.
    [[nodiscard]] virtual std::string applications() const = 0;
    /// The user's own, without one.
    [[nodiscard]] virtual std::string userApplications() const = 0;

    /// Makes @p copy as the administrator, after the system has asked for the password. An older
    /// copy in its place is replaced. Returns when that is done; events are processed meanwhile.
    virtual Privileged runPrivileged(const BundleCopy &copy) = 0;

    /// Has what the system knows of this bundle, such as that it starts with the session, hold for
    /// its copy at @p path instead. A failure is ignored.
    virtual void takeAlong(const std::string &path) = 0;

    /// The shell's command that starts the bundle as it lies at @p path.
    [[nodiscard]] virtual std::string openCommand(const std::string &path) const = 0;

    /// Starts a program that outlives this one. A failure is ignored.
    virtual void launch(const std::string &program, const std::vector<std::string> &arguments) = 0;

    /// Asks the application to end as soon as its event loop runs.
    virtual void terminate() = 0;

    /// What the bundle tells of itself, under the names that the second platform knows.
    [[nodiscard]] virtual QVariantMap information() const = 0;

    /// The bundle of the application that runs.
    [[nodiscard]] static std::unique_ptr<ApplicationBundle> ofThisApplication();
};

} // namespace Tarnwick
