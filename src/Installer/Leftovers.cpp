// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/Leftovers.h"

#include "Installer/AccessControl.h"
#include "Installer/ApplicationsFolder.h"
#include "Installer/CopyProtocol.h"
#include "Installer/FilesBelow.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <unistd.h>

namespace Tarnwick::Leftovers {

namespace {

constexpr std::size_t suffixLength = 6;
constexpr std::string_view suffixCharacters = "abcdefghijklmnopqrstuvwxyz012345";

std::string randomSuffix()
{
    std::array<unsigned char, suffixLength> bytes{};
    static_cast<void>(::getrandom(bytes.data(), bytes.size(), 0));
    std::string result;
    for (const unsigned char byte : bytes) {
        result += suffixCharacters[byte % suffixCharacters.size()];
    }
    return result;
}

bool isTemporaryName(std::string_view name)
{
    return name.size() == CopyProtocol::temporaryPrefix.size() + suffixLength &&
           name.starts_with(CopyProtocol::temporaryPrefix) &&
           name.find_first_not_of(suffixCharacters, CopyProtocol::temporaryPrefix.size()) ==
               std::string_view::npos;
}

/// Whether only the user of this process may write into the open @p folder.
bool isOwn(int folder)
{
    struct stat status = {};
    return ::fstat(folder, &status) == 0 && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 &&
           !AccessControl::letsNamedOnesWrite(folder).value_or(true);
}

void clearOne(const ApplicationsFolder &applications, const std::string &name)
{
    const int parent = applications.descriptor();
    const FileDescriptor folder = FilesBelow::openFolder(parent, name);
    if (!folder || !isOwn(folder.get()) || !lock(folder.get()) ||
        !FilesBelow::isSame(parent, name, folder.get())) {
        return;
    }
    const std::optional<OlderCopy> copy = applications.copyNamed(name);
    if (copy && FilesBelow::isSame(parent, name, copy->folder.get())) {
        remove(applications, name, *copy);
    } else {
        ::unlinkat(parent, name.c_str(), AT_REMOVEDIR); // which only removes an empty one
    }
}

} // namespace

bool lock(int folder)
{
    return ::flock(folder, LOCK_EX | LOCK_NB) == 0;
}

std::string temporaryName()
{
    return std::string(CopyProtocol::temporaryPrefix) + randomSuffix();
}

void putBack(const ApplicationsFolder &applications)
{
    const int parent = applications.descriptor();
    const std::string aside = std::string(CopyProtocol::asidePrefix) + applications.name();
    const std::optional<OlderCopy> copy = applications.copyNamed(aside);
    if (!copy || !lock(copy->folder.get()) ||
        !FilesBelow::isSame(parent, aside, copy->folder.get())) {
        return;
    }
    struct stat status = {};
    if (::fstatat(parent, applications.name().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        if (applications.copyNamed(applications.name())) {
            remove(applications, aside, *copy); // it was replaced; only its removal is missing
        }
        return;
    }
    static_cast<void>(FilesBelow::renameToNew(parent, aside, applications.name()));
}

void clear(const ApplicationsFolder &applications)
{
    const std::optional<std::vector<std::string>> names =
        FilesBelow::namesIn(applications.descriptor());
    for (const std::string &name : names.value_or(std::vector<std::string>())) {
        if (isTemporaryName(name)) {
            clearOne(applications, name);
        }
    }
}

void remove(const ApplicationsFolder &applications, const std::string &name, const OlderCopy &copy)
{
    const int parent = applications.descriptor();
    if (FilesBelow::removeListed(parent, name, copy.folder.get(), copy.manifest)) {
        return;
    }
    const auto pathOf = [&applications](const std::string &folder) {
        return (std::filesystem::path(applications.path()) / folder).string();
    };
    if (FilesBelow::isResourceError(errno)) {
        CopyProtocol::log(CopyProtocol::systemFailure(pathOf(name)));
        return; // with its marker, for the next installation
    }
    // There is something in it that no copy has brought.
    const std::string kept = applications.name() + ".old-" + randomSuffix();
    if (!FilesBelow::isSame(parent, name, copy.folder.get()) ||
        !FilesBelow::renameToNew(parent, name, kept)) {
        return;
    }
    ::unlinkat(copy.folder.get(), PortableManifest::fileName, 0);
    CopyProtocol::log("files that the older copy does not list are kept in " + pathOf(kept));
}

} // namespace Tarnwick::Leftovers
