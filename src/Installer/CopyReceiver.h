// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/ApplicationsFolder.h"
#include "Installer/CopyProtocol.h"
#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Tarnwick {

class PipeReader;
class PipeWriter;

/// The privileged half of an installation: writes the files that it is sent into a new folder with
/// a temporary name, and lets that folder take the place of an older copy with one rename. It reads
/// no file of the user's and follows no link. Everything belongs to the user and the group that it
/// runs as, and has no access control list.
///
/// The new folder has the marker from its first moment, readable for nobody else, with a line for
/// each file before that file is made: so whatever kills this process, the next one knows what it
/// may remove. The lock on the folder says that this process is still there.
class CopyReceiver
{
public:
    /// @p name is that of the copy in @p folder, which exists, belongs to the user that this
    /// process runs as, and which no other user may write into. The other process may be silent
    /// for @p silence, or read nothing: it may have to start the copy from a slow disk.
    CopyReceiver(std::string folder, std::string name,
                 std::chrono::milliseconds silence = CopyProtocol::maxSilence);
    /// Removes what has not taken its place.
    ~CopyReceiver();
    CopyReceiver(const CopyReceiver &) = delete;
    CopyReceiver &operator=(const CopyReceiver &) = delete;

    /// Receives the copy from @p input and replies on @p output, other than with a failure. First
    /// clears what earlier installations have left (Leftovers). What is in the place of the copy
    /// must be an older copy (ApplicationsFolder). Of an older copy only the files that it lists
    /// are removed; the rest goes on as `NAME.old-XXXXXX`. On failure everything is as it was.
    [[nodiscard]] CopyProtocol::Failure receive(int input, int output);

private:
    using Failure = CopyProtocol::Failure;

    [[nodiscard]] Failure makeTemporaryFolder();
    [[nodiscard]] Failure startMarker();
    [[nodiscard]] Failure receiveFiles(PipeReader &reader);
    [[nodiscard]] Failure receiveFile(PipeReader &reader, const std::string &header);
    [[nodiscard]] Failure writeFile(PipeReader &reader, const PortableFile &file,
                                    std::uint64_t size);
    [[nodiscard]] Failure finishTemporaryFolder();
    [[nodiscard]] Failure takePlace(PipeWriter &replies);
    [[nodiscard]] bool exchange();
    [[nodiscard]] std::string setAside() const;

    ApplicationsFolder m_applications;
    std::chrono::milliseconds m_silence;
    std::string m_temporaryName; ///< empty while there is nothing of that name to be removed
    FileDescriptor m_temporary;
    FileDescriptor m_marker;
    PortableManifest m_received;
    std::uint64_t m_receivedBytes = 0;
    std::size_t m_markerBytes = 0;
};

} // namespace Tarnwick
