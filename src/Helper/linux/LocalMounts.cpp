// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/LocalMounts.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <fcntl.h>

namespace Tarnwick {

namespace {

/// Takes the first word of @p line off its front.
std::string_view takeWord(std::string_view &line)
{
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(line.size(), word.size() + 1));
    return word;
}

/// A path as mountinfo has it: blanks, tabs, line feeds and backslashes are three octal digits
/// behind a backslash.
std::string unescaped(std::string_view text)
{
    std::string path;
    path.reserve(text.size());
    while (!text.empty()) {
        const auto isOctal = [](char digit) { return digit >= '0' && digit <= '7'; };
        if (text.front() == '\\' && text.size() > 3 &&
            std::all_of(text.begin() + 1, text.begin() + 4, isOctal)) {
            const int value = (text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0');
            path += static_cast<char>(value);
            text.remove_prefix(4);
        } else {
            path += text.front();
            text.remove_prefix(1);
        }
    }
    return path;
}

bool isAtOrBelow(std::string_view path, std::string_view folder)
{
    return folder == "/" || (path.starts_with(folder) &&
                             (path.size() == folder.size() || path[folder.size()] == '/'));
}

} // namespace

LocalMounts::LocalMounts(std::string_view mountInfo)
{
    while (!mountInfo.empty()) {
        std::string_view line = mountInfo.substr(0, mountInfo.find('\n'));
        mountInfo.remove_prefix(std::min(mountInfo.size(), line.size() + 1));
        // Identifier, parent, device and root, the mount point, options, optional fields up to a
        // hyphen, and the type.
        for (int word = 0; word < 4; ++word) {
            static_cast<void>(takeWord(line));
        }
        std::string folder = unescaped(takeWord(line));
        while (!line.empty() && takeWord(line) != "-") {
        }
        m_mounts.push_back({std::move(folder), isLocalType(takeWord(line))});
    }
}

LocalMounts LocalMounts::ofThisProcess()
{
    constexpr std::size_t maxSize = 16UL * 1024 * 1024;
    std::string text;
    if (!ProcFs::readFile(AT_FDCWD, "/proc/self/mountinfo", text, maxSize)) {
        text.clear();
    }
    return LocalMounts(text);
}

bool LocalMounts::contain(std::string_view path) const
{
    bool isLocal = false;
    for (const Mount &mount : m_mounts) {
        if (!isAtOrBelow(path, mount.folder)) {
            continue;
        }
        // One that is hidden by now may be in the way of nothing; in doubt it counts.
        const bool isRoot = mount.folder == "/";
        if (!mount.isLocal && !isRoot) {
            return false;
        }
        isLocal = isRoot ? mount.isLocal : isLocal;
    }
    return isLocal;
}

bool LocalMounts::isLocalType(std::string_view type)
{
    static constexpr std::array<std::string_view, 19> types{
        "bcachefs", "btrfs",   "erofs", "exfat", "ext2",  "ext3",    "ext4",
        "f2fs",     "iso9660", "jfs",   "msdos", "ntfs3", "overlay", "ramfs",
        "squashfs", "tmpfs",   "vfat",  "xfs",   "zfs"};
    static_assert(std::is_sorted(types.begin(), types.end()));
    return std::binary_search(types.begin(), types.end(), type);
}

} // namespace Tarnwick
