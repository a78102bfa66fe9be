// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/FilesBelow.h"

#include "Installer/AccessControl.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick::FilesBelow {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t folderMode = 0755;
constexpr mode_t privateFileMode = 0600;
constexpr mode_t privateFolderMode = 0700;

struct Place
{
    FileDescriptor folder;
    std::string name;
};

/// The folder @p name of @p folder, made where it is missing.
FileDescriptor makeFolder(int folder, const std::string &name)
{
    const bool isNew = ::mkdirat(folder, name.c_str(), privateFolderMode) == 0;
    if (!isNew && errno != EEXIST) {
        return {};
    }
    FileDescriptor made = openFolder(folder, name);
    return made && (!isNew || setOwnerAndMode(made.get(), folderMode)) ? std::move(made)
                                                                       : FileDescriptor();
}

using OpenFolder = FileDescriptor (*)(int, const std::string &);

/// Where the last component of @p path lies.
std::optional<Place> placeOf(int folder, std::string_view path, OpenFolder open)
{
    FileDescriptor current(::openat(folder, ".", folderFlags));
    for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
         slash = path.find('/')) {
        if (!current) {
            return std::nullopt;
        }
        current = open(current.get(), std::string(path.substr(0, slash)));
        path.remove_prefix(slash + 1);
    }
    return current ? std::optional(Place{std::move(current), std::string(path)}) : std::nullopt;
}

/// All folders on the way to @p path, as paths.
void addFoldersOf(std::string_view path, std::set<std::string, std::greater<>> &folders)
{
    for (std::size_t slash = path.rfind('/'); slash != std::string_view::npos;
         slash = path.rfind('/')) {
        path = path.substr(0, slash);
        folders.emplace(path);
    }
}

/// False, with the reason in errno, where it is still there or was not.
bool remove(int folder, std::string_view path, int flags)
{
    const std::optional<Place> place = placeOf(folder, path, &openFolder);
    return place && ::unlinkat(place->folder.get(), place->name.c_str(), flags) == 0;
}

} // namespace

FileDescriptor openFolder(const std::string &path)
{
    return FileDescriptor(::open(path.c_str(), folderFlags));
}

FileDescriptor openFolder(int folder, const std::string &name)
{
    FileDescriptor inner(::openat(folder, name.c_str(), folderFlags | O_NOFOLLOW));
    struct stat outerStatus = {};
    struct stat innerStatus = {};
    if (!inner || ::fstat(folder, &outerStatus) != 0 || ::fstat(inner.get(), &innerStatus) != 0) {
        return {};
    }
    if (outerStatus.st_dev != innerStatus.st_dev) {
        errno = EXDEV;
        return {};
    }
    return inner;
}

FileDescriptor openFile(int folder, std::string_view path)
{
    const std::optional<Place> place = placeOf(folder, path, &openFolder);
    if (!place) {
        return {};
    }
    // A device must not even be opened, which may already do something.
    const FileDescriptor found(
        ::openat(place->folder.get(), place->name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!found || ::fstat(found.get(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISLNK(status.st_mode) ? ELOOP : EINVAL;
        return {};
    }
    FileDescriptor file(::openat(place->folder.get(), place->name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file || ::fstat(file.get(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) { // replaced since
        errno = EINVAL;
        return {};
    }
    return file;
}

FileDescriptor createFile(int folder, std::string_view path)
{
    const std::optional<Place> place = placeOf(folder, path, &makeFolder);
    FileDescriptor file(place ? ::openat(place->folder.get(), place->name.c_str(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                         privateFileMode)
                              : -1);
    return file && setOwnerAndMode(file.get(), privateFileMode) ? std::move(file)
                                                                : FileDescriptor();
}

bool setOwnerAndMode(int file, mode_t mode)
{
    constexpr mode_t permissions = 07777;
    struct stat status = {};
    // The lists first: with one, the mode of the group is the list's mask.
    if (::fchown(file, ::geteuid(), ::getegid()) != 0 || !AccessControl::removeLists(file) ||
        ::fchmod(file, mode) != 0 || ::fstat(file, &status) != 0) {
        return false;
    }
    errno = EPERM;
    return status.st_uid == ::geteuid() && status.st_gid == ::getegid() &&
           (status.st_mode & permissions) == mode;
}

std::optional<std::string> readFile(int folder, std::string_view path, std::size_t maxBytes)
{
    const FileDescriptor file = openFile(folder, path);
    if (!file) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> buffer{};
    while (true) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count == 0) {
            return text;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (text.size() > maxBytes) {
            errno = EFBIG;
            return std::nullopt;
        }
    }
}

bool isSame(int parent, const std::string &name, int open)
{
    struct stat named = {};
    struct stat opened = {};
    if (::fstatat(parent, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstat(open, &opened) != 0) {
        return false;
    }
    errno = ENOENT;
    return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool renameToNew(int parent, const std::string &name, const std::string &newName)
{
    return ::renameat2(parent, name.c_str(), parent, newName.c_str(), RENAME_NOREPLACE) == 0 ||
           // Over a folder with something in it this fails as well.
           (isWithoutFlags(errno) &&
            ::renameat(parent, name.c_str(), parent, newName.c_str()) == 0);
}

bool isWithoutFlags(int error)
{
    return error == EINVAL || error == ENOSYS;
}

bool isResourceError(int error)
{
    constexpr std::array<int, 9> errors{EMFILE, ENFILE, ENOMEM,  ENOSPC,   EDQUOT,
                                        EIO,    ESTALE, EUCLEAN, ETIMEDOUT};
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

std::optional<std::vector<std::string>> namesIn(int folder)
{
    FileDescriptor own(::openat(folder, ".", folderFlags)); // which has a position of its own
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(own ? ::fdopendir(own.get()) : nullptr,
                                                       &::closedir);
    if (!entries) {
        return std::nullopt;
    }
    own.release();
    std::vector<std::string> names;
    errno = 0;
    while (const dirent *const entry = ::readdir(entries.get())) {
        const std::string_view name = static_cast<const char *>(entry->d_name);
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

bool removeListed(int parent, const std::string &name, int folder, const PortableManifest &manifest)
{
    int resourceError = 0;
    const auto check = [&resourceError](bool isDone) {
        if (!isDone && resourceError == 0 && isResourceError(errno)) {
            resourceError = errno;
        }
    };
    std::set<std::string, std::greater<>> folders; // a folder comes after what lies in it
    for (const PortableFile &file : manifest.files) {
        check(remove(folder, file.path, 0));
        addFoldersOf(file.path, folders);
    }
    for (const std::string &inner : folders) {
        check(remove(folder, inner, AT_REMOVEDIR));
    }
    const std::optional<std::vector<std::string>> left = namesIn(folder);
    check(left.has_value());
    if (left == std::vector<std::string>{PortableManifest::fileName}) {
        check(remove(folder, PortableManifest::fileName, 0));
    }
    const bool isGone =
        isSame(parent, name, folder) && ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
    if (!isGone && resourceError != 0) {
        errno = resourceError;
    }
    return isGone;
}

} // namespace Tarnwick::FilesBelow
