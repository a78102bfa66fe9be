// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/CopyProtocol.h"
#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace Tarnwick {

class PipeWriter;
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

    /// Once the other half has begun to read, it may read and send nothing for @p silence: it
    /// writes to the disk meanwhile.
    explicit CopySender(Places places,
                        std::chrono::milliseconds silence = std::chrono::minutes(10));

    /// Returns when the copy has its place, which is a success whatever happens to the other half
    /// after that, or when nothing has changed. Waits as long as the user needs for the password,
    /// and 2 s at most for the other half to remove an older copy. Then that half goes on alone,
    /// and so does one that was silent for too long, which undoes everything unless the copy was to
    /// take its place already.
    [[nodiscard]] CopyProtocol::Failure send();

private:
    using Failure = CopyProtocol::Failure;

    [[nodiscard]] std::string nameOfCopy() const;
    [[nodiscard]] Failure openSource();
    [[nodiscard]] Failure checkFiles();
    [[nodiscard]] Failure checkApplications() const;
    [[nodiscard]] Failure converse(Subprocess &receiver) const;
    [[nodiscard]] Failure sendFiles(PipeWriter &receiver) const;
    [[nodiscard]] Failure sendFile(PipeWriter &receiver, const PortableFile &file) const;
    [[nodiscard]] Failure tryCopy(const std::string &temporaryName) const;

    Places m_places;
    std::chrono::milliseconds m_silence;
    FileDescriptor m_source;
    PortableManifest m_manifest;
    std::uint64_t m_bytes = 0; ///< of all files
};

} // namespace Tarnwick
