// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProjectFinder.h"

#include "Helper/linux/LocalMounts.h"
#include "Helper/linux/ProcFs.h"
#include "Shared/FileDescriptor.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view gitName = ".git";

/// Opens @p path without following a symbolic link, and below @p folder without leaving its file
/// system.
FileDescriptor openAt(int folder, const char *path, std::uint64_t flags)
{
    open_how how = {};
    how.flags = flags | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    how.resolve |= folder == AT_FDCWD ? 0U : RESOLVE_NO_XDEV;
    return FileDescriptor(
        static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof(how))));
}

FileDescriptor openFolder(int folder, const char *path)
{
    return openAt(folder, path, O_PATH | O_DIRECTORY);
}

/// The first line of the regular file @p name in @p folder; empty for anything else, and for a line
/// that is longer than any path.
std::string firstLine(int folder, const char *name)
{
    constexpr std::size_t maxSize = 8192;
    struct stat file = {};
    // Opening a device may do things.
    if (::fstatat(folder, name, &file, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(file.st_mode)) {
        return {};
    }
    const FileDescriptor opened = openAt(folder, name, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    std::string text;
    if (!opened || ::fstat(opened.get(), &file) != 0 || !S_ISREG(file.st_mode) ||
        !ProcFs::readWhole(opened.get(), text, maxSize) || text.size() == maxSize) {
        return {};
    }
    text.resize(std::min(text.size(), text.find('\n')));
    return text;
}

/// The branch that the text of a HEAD names, or the beginning of a commit's identifier.
std::string branchFrom(std::string_view head)
{
    constexpr std::string_view reference = "ref: ";
    constexpr std::string_view branches = "refs/heads/";
    constexpr std::size_t shortSize = 7;
    constexpr std::size_t sha1Size = 40;
    if (head.starts_with(reference)) {
        head.remove_prefix(reference.size());
        head.remove_prefix(head.starts_with(branches) ? branches.size() : 0);
        return Utf8::sanitized(head);
    }
    const bool isCommit =
        head.size() >= sha1Size && head.find_first_not_of("0123456789abcdef") == head.npos;
    return isCommit ? std::string(head.substr(0, shortSize)) : std::string();
}

/// Whether the names of a path lead downwards only.
bool isPlain(std::string_view path)
{
    return path.starts_with('/') && path.find('\0') == path.npos &&
           (std::string(path) + '/').find("/../") == std::string::npos;
}

} // namespace

std::string Project::name() const
{
    return folder.substr(folder.rfind('/') + 1);
}

struct ProjectFinder::Private
{
    [[nodiscard]] std::optional<Project> findAt(const std::string &path);
    [[nodiscard]] std::string branch(int folder, bool isFile) const;
    [[nodiscard]] FileDescriptor openNamed(int folder, std::string path) const;
    [[nodiscard]] bool seesOurFiles(std::int32_t pid);

    std::chrono::milliseconds timeLimit;
    FileDescriptor root = ProcFs::openRoot();
    std::string ownNamespace{};
    std::optional<LocalMounts> mounts{};
    Clock::time_point deadline{};
    std::unordered_map<std::string, std::optional<Project>> found{}; ///< by working directory
};

ProjectFinder::ProjectFinder(std::chrono::milliseconds timeLimit)
    : m_private(std::make_unique<Private>(Private{.timeLimit = timeLimit}))
{
}

ProjectFinder::~ProjectFinder() = default;

const std::optional<Project> &ProjectFinder::find(std::int32_t pid, const std::string &folder)
{
    static const std::optional<Project> none;
    Private &d = *m_private;
    if (pid <= 0 || folder.size() <= 1 || !isPlain(folder) || !d.seesOurFiles(pid)) {
        return none;
    }
    const auto [known, isNew] = d.found.try_emplace(folder);
    if (isNew) {
        if (!d.mounts) {
            d.mounts = LocalMounts::ofThisProcess();
            d.deadline = Clock::now() + d.timeLimit;
        }
        if (Clock::now() < d.deadline) {
            known->second = d.findAt(folder);
        }
    }
    return known->second;
}

/// Whether paths mean to @p pid what they mean here.
bool ProjectFinder::Private::seesOurFiles(std::int32_t pid)
{
    const std::string process = std::to_string(pid);
    if (ownNamespace.empty() && !ProcFs::readLink(root.get(), "self/ns/mnt", ownNamespace)) {
        return false;
    }
    std::string target;
    return ProcFs::readLink(root.get(), (process + "/ns/mnt").c_str(), target) &&
           target == ownNamespace &&
           ProcFs::readLink(root.get(), (process + "/root").c_str(), target) && target == "/";
}

std::optional<Project> ProjectFinder::Private::findAt(const std::string &path)
{
    if (!mounts->contain(path)) {
        return std::nullopt;
    }
    FileDescriptor folder = openFolder(AT_FDCWD, path.c_str());
    std::string_view name = path;
    // Above the root of the file system there is nothing to open.
    while (folder && name.size() > 1) {
        struct stat git = {};
        if (::fstatat(folder.get(), gitName.data(), &git, AT_SYMLINK_NOFOLLOW) == 0) {
            const bool isFile = S_ISREG(git.st_mode);
            if (isFile || S_ISDIR(git.st_mode) || S_ISLNK(git.st_mode)) {
                return Project{Utf8::sanitized(name), branch(folder.get(), isFile)};
            }
        }
        name = name.substr(0, std::max<std::size_t>(name.rfind('/'), 1));
        folder = openFolder(folder.get(), "..");
    }
    return std::nullopt;
}

/// The branch of the project in @p folder, whose ".git" is a folder, or a file that names one:
/// "gitdir: PATH" for a work tree or a submodule. That is followed once.
std::string ProjectFinder::Private::branch(int folder, bool isFile) const
{
    constexpr std::string_view key = "gitdir: ";
    FileDescriptor git;
    if (isFile) {
        const std::string line = firstLine(folder, gitName.data());
        git = line.starts_with(key) ? openNamed(folder, line.substr(key.size())) : FileDescriptor();
    } else {
        git = openFolder(folder, gitName.data());
    }
    return git ? branchFrom(firstLine(git.get(), "HEAD")) : std::string();
}

FileDescriptor ProjectFinder::Private::openNamed(int folder, std::string path) const
{
    if (!path.starts_with('/')) {
        return openFolder(folder, path.c_str());
    }
    return isPlain(path) && mounts->contain(path) ? openFolder(AT_FDCWD, path.c_str())
                                                  : FileDescriptor();
}

} // namespace Tarnwick
