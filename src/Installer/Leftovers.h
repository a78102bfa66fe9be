// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Tarnwick {

class ApplicationsFolder;
struct OlderCopy;

/// What installations leave in the folder for applications when they are killed midway, and how an
/// older copy is removed. As long as an installation runs it holds the lock of flock(2) on the
/// folders that are its own, so a folder whose lock is free is nobody's.
namespace Leftovers {

/// Takes the lock on the open @p folder. False when another process has it.
[[nodiscard]] bool lock(int folder);

/// A new name with the temporary prefix and six characters that nobody foresees.
[[nodiscard]] std::string temporaryName();
/// A new name for setting the copy @p name aside, with six such characters at its end.
[[nodiscard]] std::string asideName(std::string_view name);

/// Puts an older copy back that was set aside, when nothing is in its place: the installation was
/// killed between two renames. Of several the one whose folder was changed last, which a rename
/// does. Its name is as asideName() gives it, and its lock is free.
void putBack(const ApplicationsFolder &applications);

/// Removes the folders that earlier installations have left under temporary names, and where a copy
/// is in the place, those that were set aside for it. Such a folder has a name exactly as
/// temporaryName() or asideName() gives it, is no link, lies on the same file system, belongs to
/// the owner of the applications folder, may be written by nobody else, and its lock is free. It is
/// empty, or has the marker of a copy: then what the marker lists is removed, and what is left goes
/// on under another name, as with an older copy. Everything else stays as it is.
void clear(const ApplicationsFolder &applications);

/// Removes @p copy, which was replaced and has the name @p name now. Files that it does not list go
/// on in `NAME.old-XXXXXX`, which standard error says. Where it cannot be removed for an error of
/// FilesBelow::isResourceError(), it stays under that name, and standard error says why.
void remove(const ApplicationsFolder &applications, const std::string &name, const OlderCopy &copy);

} // namespace Leftovers

} // namespace Tarnwick
