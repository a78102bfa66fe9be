// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SocketFile.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

constexpr std::size_t maxTableBytes = 16UL * 1024 * 1024;

/// The number of the mount that a descriptor of this process is on, from the text of its fdinfo
/// (proc(5)); empty when it is not there.
std::string_view mountOf(std::string_view text)
{
    constexpr std::string_view key = "mnt_id:\t";
    const std::size_t at = text.find(key);
    if (at == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(at + key.size());
    return text.substr(0, text.find('\n'));
}

/// The device of a mount, from the text of mountinfo (proc(5)): identifier, that of the parent,
/// major:minor, and more. 0 when it is not there.
std::uint32_t deviceOf(std::string_view mount, std::string_view table)
{
    const std::string start = std::string(mount) + " ";
    while (!table.empty()) {
        std::string_view line = table.substr(0, table.find('\n'));
        table.remove_prefix(std::min(table.size(), line.size() + 1));
        if (!line.starts_with(start)) {
            continue;
        }
        line.remove_prefix(start.size());
        line.remove_prefix(std::min(line.size(), line.find(' ') + 1));
        unsigned major = 0;
        unsigned minor = 0;
        const char *const end = line.data() + line.size();
        const char *const colon = std::from_chars(line.data(), end, major).ptr;
        if (colon == end || *colon != ':') {
            return 0;
        }
        std::from_chars(colon + 1, end, minor);
        return UnixListeners::fileDevice(major, minor);
    }
    return 0;
}

} // namespace

std::optional<std::uint32_t> MountTable::deviceOfMount(int descriptor)
{
    const std::string name = "self/fdinfo/" + std::to_string(descriptor);
    std::string information;
    if (!ProcFs::readFile(m_root, name.c_str(), information, maxTableBytes) ||
        (m_table.empty() && !ProcFs::readFile(m_root, "self/mountinfo", m_table, maxTableBytes))) {
        return std::nullopt;
    }
    return deviceOf(mountOf(information), m_table);
}

std::variant<SocketFile, int> SocketFile::open(const std::string &path, Links links,
                                               MountTable &mounts)
{
    const int noFollow = links == Links::NotFollowed ? O_NOFOLLOW : 0;
    FileDescriptor descriptor(::open(path.c_str(), O_PATH | O_CLOEXEC | noFollow));
    struct statx status = {};
    // What is mounted there may be a file system that answers no request (fuse(4)), so only what
    // the kernel has of it is taken.
    if (!descriptor || ::statx(descriptor.get(), "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC,
                               STATX_TYPE | STATX_INO, &status) != 0) {
        return errno;
    }
    if (!S_ISSOCK(status.stx_mode)) {
        return ENOTSOCK;
    }
    const std::optional<std::uint32_t> deviceOfMount = mounts.deviceOfMount(descriptor.get());
    if (!deviceOfMount) {
        return errno;
    }
    SocketFile file;
    file.m_descriptor = std::move(descriptor);
    file.m_inode = static_cast<std::uint32_t>(status.stx_ino);
    file.m_device = UnixListeners::fileDevice(status.stx_dev_major, status.stx_dev_minor);
    file.m_deviceOfMount = *deviceOfMount;
    return file;
}

std::string SocketFile::path() const
{
    return "/proc/self/fd/" + std::to_string(m_descriptor.get());
}

bool SocketFile::isOf(const UnixListener &listener) const
{
    // A file system of several volumes or layers (Btrfs, overlayfs) shows another device in stat(2)
    // than the one of its mount, which socket diagnostics tell.
    return listener.file == m_inode && listener.device != 0 &&
           (listener.device == m_device || listener.device == m_deviceOfMount);
}

} // namespace Tarnwick
