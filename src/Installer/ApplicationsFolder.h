// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/CopyProtocol.h"
#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

namespace Tarnwick {

/// A copy that is installed already.
struct OlderCopy
{
    FileDescriptor folder;
    PortableManifest manifest; ///< empty where its marker does not say what it consists of
};

/// The folder that copies are installed into, such as /opt, and what is there under the name of a
/// copy. The process that installs uses it, and before it the user's, which asks for no password
/// where the answer is known: what that one may not see it leaves to the other. Not thread-safe.
class ApplicationsFolder
{
public:
    using Failure = CopyProtocol::Failure;

    /// Copies are named @p name in the folder @p path.
    ApplicationsFolder(std::string path, std::string name);

    /// Opens the folder. A failure where the name is none for a copy, where the folder belongs to
    /// neither root nor the user of this process, and where other users may write into it.
    [[nodiscard]] Failure open();

    /// Whether the process that installs is another user's: the folder is not ours.
    [[nodiscard]] bool isOfAnotherUser() const;

    /// A failure where the user of this process cannot start anything in the folder, as in one that
    /// may not be entered or whose programs the kernel does not execute, where it is read-only, and
    /// where there is no room for @p files with @p bytes altogether.
    [[nodiscard]] Failure checkUse(std::uint64_t files, std::uint64_t bytes) const;

    /// Reads what is in the place of the copy: nothing, or an older copy, which is a folder, no
    /// link, on the same file system, with a marker that is a regular file, both the owner's of the
    /// applications folder. Anything else is a failure, and so is what cannot be read.
    [[nodiscard]] Failure checkPlace();
    /// As checkPlace() found it; null where nothing is in the place.
    [[nodiscard]] const OlderCopy *older() const { return m_older ? &*m_older : nullptr; }

    /// The copy in the folder named @p name, if one is there by the rules of checkPlace(). Else
    /// errno says why: with an error of FilesBelow::isResourceError() that is not known.
    [[nodiscard]] std::optional<OlderCopy> copyNamed(const std::string &name) const;

    [[nodiscard]] int descriptor() const { return m_folder.get(); }
    [[nodiscard]] const std::string &path() const { return m_path; }
    [[nodiscard]] const std::string &name() const { return m_name; }
    /// The path of the copy's place.
    [[nodiscard]] std::string target() const;

private:
    std::string m_path;
    std::string m_name;
    FileDescriptor m_folder;
    uid_t m_owner = 0;
    std::optional<OlderCopy> m_older;
};

} // namespace Tarnwick
