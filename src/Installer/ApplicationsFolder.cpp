// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/ApplicationsFolder.h"

#include "Installer/AccessControl.h"
#include "Installer/FilesBelow.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using CopyProtocol::Failure;
using CopyProtocol::systemFailure;

constexpr std::size_t maxNameLength = 200; ///< so that there is room for a suffix

/// A name that is no hidden file's, and that looks in a log like what it is.
bool isNameOfCopy(std::string_view name)
{
    constexpr unsigned char firstPrintable = 0x20;
    constexpr unsigned char deleteCharacter = 0x7f;
    return !name.empty() && name.front() != '.' && name.size() <= maxNameLength &&
           std::none_of(name.begin(), name.end(), [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte < firstPrintable || byte == deleteCharacter || character == '/';
           });
}

/// Also a folder that may be entered and not read, as far as that goes.
FileDescriptor openForAny(const std::string &path)
{
    FileDescriptor folder = FilesBelow::openFolder(path);
    return folder || errno != EACCES
               ? std::move(folder)
               : FileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

std::string inMebibytes(std::uint64_t bytes)
{
    constexpr std::uint64_t mebibyte = 1024UL * 1024;
    return std::to_string((bytes + mebibyte - 1) / mebibyte) + " MiB";
}

} // namespace

ApplicationsFolder::ApplicationsFolder(std::string path, std::string name)
    : m_path(std::move(path))
    , m_name(std::move(name))
{
}

std::string ApplicationsFolder::target() const
{
    return (std::filesystem::path(m_path) / m_name).string();
}

bool ApplicationsFolder::isOfAnotherUser() const
{
    return m_owner != ::geteuid();
}

Failure ApplicationsFolder::open()
{
    if (!isNameOfCopy(m_name)) {
        return "a folder of this name is not moved";
    }
    m_folder = openForAny(m_path);
    struct stat status = {};
    if (!m_folder || ::fstat(m_folder.get(), &status) != 0) {
        return systemFailure(m_path);
    }
    m_owner = status.st_uid;
    if (m_owner != 0 && isOfAnotherUser()) {
        return m_path + ": this folder belongs to another user";
    }
    // Root is of the group 0, which no other user should be of.
    const gid_t trusted = m_owner == 0 ? 0 : ::getegid();
    const bool isGroupTrusted = status.st_gid == trusted || (status.st_mode & S_IWGRP) == 0;
    const std::optional<bool> isListTooWide = AccessControl::letsNamedOnesWrite(m_folder.get());
    if (!isListTooWide) {
        return systemFailure(m_path);
    }
    if (!isGroupTrusted || (status.st_mode & S_IWOTH) != 0 || *isListTooWide) {
        return m_path + ": other users may write into this folder";
    }
    return std::nullopt;
}

Failure ApplicationsFolder::checkUse(std::uint64_t files, std::uint64_t bytes) const
{
    struct statvfs room = {};
    if (::faccessat(m_folder.get(), ".", X_OK, AT_EACCESS) != 0 ||
        ::fstatvfs(m_folder.get(), &room) != 0) {
        return systemFailure(m_path);
    }
    if ((room.f_flag & ST_RDONLY) != 0) {
        errno = EROFS;
        return systemFailure(m_path);
    }
    if ((room.f_flag & ST_NOEXEC) != 0) {
        return m_path + ": the file system is mounted with noexec, no program runs there";
    }
    // What only root may use is included, for root it is who writes. Some count no files.
    const std::uint64_t free = room.f_bfree * room.f_frsize;
    if (bytes > free) {
        return m_path + ": no room for the copy, which needs " + inMebibytes(bytes) + " of the " +
               inMebibytes(free) + " that are free";
    }
    if (room.f_files != 0 && files > room.f_ffree) {
        return m_path + ": no room for the copy, which needs " + std::to_string(files) +
               " of the " + std::to_string(room.f_ffree) + " files that can still be made";
    }
    return std::nullopt;
}

Failure ApplicationsFolder::checkPlace()
{
    m_older.reset();
    struct stat status = {};
    if (::fstatat(m_folder.get(), m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? std::nullopt : Failure(systemFailure(target()));
    }
    m_older = copyNamed(m_name);
    if (m_older || (errno == EACCES && isOfAnotherUser())) {
        return std::nullopt;
    }
    return FilesBelow::isResourceError(errno)
               ? systemFailure(target())
               : target() + " is there and is not a copy of Tarnwick";
}

std::optional<OlderCopy> ApplicationsFolder::copyNamed(const std::string &name) const
{
    struct stat status = {};
    const auto isOwners = [this, &status](int file) {
        errno = EPERM;
        return ::fstat(file, &status) == 0 && status.st_uid == m_owner;
    };
    FileDescriptor folder = FilesBelow::openFolder(m_folder.get(), name);
    if (!folder || !isOwners(folder.get())) {
        return std::nullopt;
    }
    const FileDescriptor marker = FilesBelow::openFile(folder.get(), PortableManifest::fileName);
    if (!marker || !isOwners(marker.get())) {
        return std::nullopt;
    }
    const std::optional<std::string> list =
        FilesBelow::readFile(folder.get(), PortableManifest::fileName, PortableManifest::maxBytes);
    if (!list && errno != EFBIG) {
        return std::nullopt;
    }
    constexpr mode_t forOthers = 0077;
    const bool isFinished = (status.st_mode & forOthers) != 0; // see CopyReceiver
    std::optional<PortableManifest> manifest =
        isFinished ? PortableManifest::parse(list.value_or(""))
                   : PortableManifest::parseUnfinished(list.value_or(""));
    return OlderCopy{.folder = std::move(folder),
                     .manifest = std::move(manifest).value_or(PortableManifest())};
}

} // namespace Tarnwick
