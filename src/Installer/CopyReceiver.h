// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/CopyProtocol.h"
#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <string>

namespace Tarnwick {

class PipeReader;

/// The privileged half of an installation: writes the files that it is sent into a new folder with
/// a temporary name, and lets that folder take the place of an older copy with one rename. It reads
/// no file of the user's and follows no link. Everything belongs to the user and the group that it
/// runs as.
class CopyReceiver
{
public:
    /// @p name is that of the copy in @p folder, which exists, belongs to the user that this
    /// process runs as, and which no other user may write into.
    CopyReceiver(std::string folder, std::string name);
    /// Removes what has not taken its place.
    ~CopyReceiver();
    CopyReceiver(const CopyReceiver &) = delete;
    CopyReceiver &operator=(const CopyReceiver &) = delete;

    /// Receives the copy from @p input and answers on @p output. What is in the place of the copy
    /// must be an older copy: a folder, no link, of this user, on the same file system, with the
    /// marker of a portable copy that is a file of this user. Of an older copy only the files that
    /// it lists are removed; the rest goes on as `NAME.old-XXXXXX`. On failure everything is as it
    /// was.
    [[nodiscard]] CopyProtocol::Failure receive(int input, int output);

private:
    using Failure = CopyProtocol::Failure;

    [[nodiscard]] Failure openApplications();
    [[nodiscard]] Failure checkPlace();
    [[nodiscard]] Failure makeTemporaryFolder();
    [[nodiscard]] Failure receiveFiles(PipeReader &reader);
    [[nodiscard]] Failure receiveFile(PipeReader &reader, const std::string &header);
    [[nodiscard]] Failure finishTemporaryFolder();
    [[nodiscard]] Failure takePlace();
    [[nodiscard]] bool exchange();
    void removeOlderCopy(const std::string &name) const;
    [[nodiscard]] std::string target() const;

    std::string m_folder;
    std::string m_name;
    FileDescriptor m_applications;
    std::string m_temporaryName; ///< empty while there is nothing of that name to be removed
    FileDescriptor m_temporary;
    PortableManifest m_received;
    std::uint64_t m_receivedBytes = 0;
    bool m_replaces = false;  ///< whether there is an older copy
    PortableManifest m_older; ///< what that one lists
};

} // namespace Tarnwick
