// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/CopyProtocol.h"
#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <string>

namespace Tarnwick {

class Subprocess;

/// The half of an installation that runs as the user: reads the files that a portable copy lists,
/// has pkexec(1) start the other half, sends them there, and starts the copy once, as
/// `PROGRAM --version` with few environment variables, before it lets it take its place. So nothing
/// is read that the user may not read, and what the user cannot start replaces nothing. What is
/// known to fail fails before pkexec is started.
class CopySender
{
public:
    struct Places
    {
        std::string source;       ///< the folder of the portable copy
        std::string applications; ///< the folder that it is copied into, under its own name
        /// Of the application, relative to the source. It is listed there, and so are the helper
        /// and the installer in the same folder.
        std::string program;
        std::string installer; ///< this program, for pkexec
    };

    explicit CopySender(Places places);

    /// Returns when the copy has its place, which is a success whatever happens to the other half
    /// after that, or when nothing has changed. Waits as long as the user needs for the password.
    [[nodiscard]] CopyProtocol::Failure send();

private:
    using Failure = CopyProtocol::Failure;

    [[nodiscard]] std::string nameOfCopy() const;
    [[nodiscard]] Failure openSource();
    [[nodiscard]] Failure checkFiles();
    [[nodiscard]] Failure checkApplications() const;
    [[nodiscard]] Failure converse(Subprocess &receiver) const;
    [[nodiscard]] Failure sendFiles(int receiver) const;
    [[nodiscard]] Failure sendFile(int receiver, const PortableFile &file) const;
    [[nodiscard]] Failure tryCopy(const std::string &temporaryName) const;

    Places m_places;
    FileDescriptor m_source;
    PortableManifest m_manifest;
    std::uint64_t m_bytes = 0; ///< of all files
};

} // namespace Tarnwick
