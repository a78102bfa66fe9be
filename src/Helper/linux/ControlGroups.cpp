// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ControlGroups.h"

#include "Helper/linux/ProcFs.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

/// Groups may be nested without bound; nobody nests them as deep as this.
constexpr unsigned deepest = 64;
constexpr std::size_t longestProcessList = 4UL * 1024 * 1024;

/// The kinds of units that own a control group (systemd.unit(5)).
constexpr std::array<std::string_view, 6> unitSuffixes{".service", ".socket", ".scope",
                                                       ".mount",   ".swap",   ".slice"};

std::string_view lastComponent(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// A mountinfo file writes blanks, tabs, line feeds and backslashes as three octal digits.
std::string unescaped(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        unsigned code = 0;
        if (text.front() == '\\' && text.size() >= 4 &&
            std::from_chars(text.data() + 1, text.data() + 4, code, 8).ptr == text.data() + 4) {
            result += static_cast<char>(code);
            text.remove_prefix(4);
        } else {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

struct CloseDirectory
{
    void operator()(DIR *directory) const { ::closedir(directory); }
};

/// Calls @p visit with the inode and the name of each directory in @p directory.
template<class Visit>
void forEachDirectory(int directory, const Visit &visit)
{
    FileDescriptor own = ProcFs::openDirectory(directory, ".");
    const std::unique_ptr<DIR, CloseDirectory> stream(own ? ::fdopendir(own.get()) : nullptr);
    if (!stream) {
        SystemFailures::note("fdopendir", errno);
        return;
    }
    own.release();
    errno = 0;
    for (const dirent *entry = ::readdir(stream.get()); entry != nullptr;
         errno = 0, entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (entry->d_type == DT_DIR && name != "." && name != "..") {
            visit(entry->d_ino, entry->d_name);
        }
    }
    SystemFailures::note("getdents64", errno);
}

FileDescriptor openGroup(int root, const std::string &path)
{
    return ProcFs::openDirectory(root, ("." + path).c_str());
}

} // namespace

ControlGroups::ControlGroups()
{
    constexpr std::size_t longestMountInfo = 16UL * 1024 * 1024;
    const FileDescriptor proc = ProcFs::openRoot();
    std::string mounts;
    if (!proc || !ProcFs::readFile(proc.get(), "self/mountinfo", mounts, longestMountInfo)) {
        return;
    }
    if (const std::optional<std::string> point = mountPoint(mounts)) {
        m_root = ProcFs::openDirectory(AT_FDCWD, point->c_str());
        m_tellsProcesses = ProcFs::numbering(proc.get()) == ProcFs::Numbering::Own;
    }
}

std::optional<std::string> ControlGroups::mountPoint(std::string_view mountInfo)
{
    // Fields, of proc(5): identifiers, device, root, mount point, options, optional fields, a dash,
    // the type of the file system.
    while (!mountInfo.empty()) {
        const std::string_view line = mountInfo.substr(0, mountInfo.find('\n'));
        mountInfo.remove_prefix(std::min(mountInfo.size(), line.size() + 1));
        const std::size_t dash = line.find(" - ");
        if (dash == std::string_view::npos || !line.substr(dash + 3).starts_with("cgroup2 ")) {
            continue;
        }
        std::string_view point = line;
        constexpr int fieldsBefore = 4;
        for (int field = 0; field < fieldsBefore; ++field) {
            point.remove_prefix(std::min(point.size(), point.find(' ')));
            point.remove_prefix(point.empty() ? 0 : 1);
        }
        return unescaped(point.substr(0, point.find(' ')));
    }
    return std::nullopt;
}

std::optional<std::string> ControlGroups::path(std::uint64_t number)
{
    if (!m_root || number == 0) {
        return std::nullopt;
    }
    if (const auto known = m_paths.find(number); known != m_paths.end()) {
        // A removed group's number is not used again, so what is known stays right while it exists.
        return known->second;
    }
    if (std::exchange(m_walked, true)) {
        return std::nullopt;
    }
    m_paths.clear();
    struct stat status = {};
    if (::fstat(m_root.get(), &status) == 0) {
        m_paths.emplace(status.st_ino, "/");
    }
    walk(m_root.get(), "", 0);
    const auto found = m_paths.find(number);
    return found == m_paths.end() ? std::nullopt : std::optional(found->second);
}

void ControlGroups::walk(int directory, const std::string &path, unsigned depth)
{
    if (depth > deepest) {
        return;
    }
    forEachDirectory(directory, [&](std::uint64_t inode, const char *name) {
        const std::string below = path + "/" + name;
        m_paths.emplace(inode, below);
        if (const FileDescriptor child = ProcFs::openDirectory(directory, name)) {
            walk(child.get(), below, depth + 1);
        }
    });
}

std::string ControlGroups::processList(const std::string &path) const
{
    std::string list;
    if (!m_tellsProcesses) {
        return list;
    }
    if (const FileDescriptor group = openGroup(m_root.get(), path)) {
        ProcFs::readFile(group.get(), "cgroup.procs", list, longestProcessList);
    }
    return list;
}

std::vector<pid_t> ControlGroups::processes(const std::string &path) const
{
    std::vector<pid_t> found;
    parseProcesses(processList(path), found);
    return found.empty() ? processesBelow(path) : found;
}

std::vector<pid_t> ControlGroups::processesBelow(const std::string &path) const
{
    std::vector<pid_t> found;
    parseProcesses(processList(path), found);
    if (m_tellsProcesses) {
        if (const FileDescriptor group = openGroup(m_root.get(), path)) {
            collect(group.get(), 0, found);
        }
    }
    return found;
}

void ControlGroups::collect(int directory, unsigned depth, std::vector<pid_t> &found) const
{
    if (depth > deepest) {
        return;
    }
    forEachDirectory(directory, [&](std::uint64_t, const char *name) {
        const FileDescriptor child = ProcFs::openDirectory(directory, name);
        std::string list;
        if (child && ProcFs::readFile(child.get(), "cgroup.procs", list, longestProcessList)) {
            parseProcesses(list, found);
            collect(child.get(), depth + 1, found);
        }
    });
}

void ControlGroups::parseProcesses(std::string_view list, std::vector<pid_t> &found)
{
    while (!list.empty()) {
        pid_t pid = 0;
        const auto parsed = std::from_chars(list.data(), list.data() + list.size(), pid);
        // A process outside of this namespace of identifiers is listed as 0.
        if (parsed.ec == std::errc{} && pid > 0) {
            found.push_back(pid);
        }
        list.remove_prefix(std::min(list.size(), list.find('\n')));
        list.remove_prefix(list.empty() ? 0 : 1);
    }
}

std::string ControlGroups::unit(std::string_view path)
{
    while (!path.empty()) {
        const std::string_view name = lastComponent(path);
        const bool isUnit =
            std::any_of(unitSuffixes.begin(), unitSuffixes.end(), [name](std::string_view suffix) {
                return name.size() > suffix.size() && name.ends_with(suffix);
            });
        if (isUnit) {
            return std::string(name);
        }
        path.remove_suffix(std::min(path.size(), name.size() + 1));
    }
    return {};
}

bool ControlGroups::isShared(std::string_view path)
{
    const std::string_view name = lastComponent(path);
    return name.empty() || name == "init.scope" || name.ends_with(".slice") ||
           (name.starts_with("session-") && name.ends_with(".scope"));
}

std::optional<std::string> ControlGroups::serviceOfSocketUnit(std::string_view path)
{
    constexpr std::string_view suffix = ".socket";
    if (!path.ends_with(suffix)) {
        return std::nullopt;
    }
    path.remove_suffix(suffix.size());
    return std::string(path) + ".service";
}

} // namespace Tarnwick
