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

/// What comes before the suffix of a copy that was set aside.
std::string asideBegin(std::string_view name)
{
    return std::string(CopyProtocol::asidePrefix).append(name).append("-");
}

/// Whether @p name is @p begin and a suffix.
bool hasSuffix(std::string_view name, std::string_view begin)
{
    return name.size() == begin.size() + suffixLength && name.starts_with(begin) &&
           name.find_first_not_of(suffixCharacters, begin.size()) == std::string_view::npos;
}

std::vector<std::string> namesWithSuffix(const ApplicationsFolder &applications,
                                         std::string_view begin)
{
    std::vector<std::string> names =
        FilesBelow::namesIn(applications.descriptor()).value_or(std::vector<std::string>());
    std::erase_if(names, [begin](const std::string &name) { return !hasSuffix(name, begin); });
    return names;
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

/// A copy that was set aside, with its lock.
struct SetAside
{
    std::string name;
    OlderCopy copy;
    timespec changed = {};

    [[nodiscard]] bool isOlderThan(const SetAside &other) const
    {
        return std::tie(changed.tv_sec, changed.tv_nsec) <
               std::tie(other.changed.tv_sec, other.changed.tv_nsec);
    }
};

std::optional<SetAside> lastSetAside(const ApplicationsFolder &applications)
{
    const int parent = applications.descriptor();
    std::optional<SetAside> last;
    for (const std::string &name : namesWithSuffix(applications, asideBegin(applications.name()))) {
        std::optional<OlderCopy> copy = applications.copyNamed(name);
        struct stat status = {};
        if (!copy || !lock(copy->folder.get()) ||
            !FilesBelow::isSame(parent, name, copy->folder.get()) ||
            ::fstat(copy->folder.get(), &status) != 0) {
            continue;
        }
        SetAside found{.name = name, .copy = std::move(*copy), .changed = status.st_ctim};
        if (!last || last->isOlderThan(found)) {
            last = std::move(found);
        }
    }
    return last;
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

std::string asideName(std::string_view name)
{
    return asideBegin(name) + randomSuffix();
}

void putBack(const ApplicationsFolder &applications)
{
    const int parent = applications.descriptor();
    const std::string &place = applications.name();
    struct stat status = {};
    if (::fstatat(parent, place.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT) {
        return;
    }
    if (const std::optional<SetAside> aside = lastSetAside(applications)) {
        static_cast<void>(FilesBelow::renameToNew(parent, aside->name, place));
    }
}

void clear(const ApplicationsFolder &applications)
{
    for (const std::string &name : namesWithSuffix(applications, CopyProtocol::temporaryPrefix)) {
        clearOne(applications, name);
    }
    if (!applications.copyNamed(applications.name())) {
        return; // the only copy may be one that was set aside
    }
    for (const std::string &name : namesWithSuffix(applications, asideBegin(applications.name()))) {
        clearOne(applications, name);
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
