// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/AccessControl.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include <endian.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>

namespace Tarnwick::AccessControl {

namespace {

constexpr const char *accessList = "system.posix_acl_access";
constexpr const char *defaultList = "system.posix_acl_default";

struct Entry
{
    unsigned tag = 0;
    bool canWrite = false;
};

Entry entryAt(const char *bytes)
{
    posix_acl_xattr_entry raw = {};
    std::memcpy(&raw, bytes, sizeof raw);
    return {.tag = le16toh(raw.e_tag), .canWrite = (le16toh(raw.e_perm) & ACL_WRITE) != 0};
}

/// Whether errno says that there is no such attribute, or can be none.
bool isAbsent()
{
    return errno == ENODATA || errno == EOPNOTSUPP || errno == ENOSYS || errno == EBADF;
}

} // namespace

std::optional<bool> letsNamedOnesWrite(int file)
{
    const ssize_t size = ::fgetxattr(file, accessList, nullptr, 0);
    if (size < 0) {
        return isAbsent() ? std::optional(false) : std::nullopt;
    }
    std::string list(static_cast<std::size_t>(size), '\0');
    constexpr std::size_t headerSize = sizeof(posix_acl_xattr_header);
    constexpr std::size_t entrySize = sizeof(posix_acl_xattr_entry);
    const ssize_t count = ::fgetxattr(file, accessList, list.data(), list.size());
    if (count < 0) {
        return std::nullopt;
    }
    if (count != size || list.size() < headerSize || (list.size() - headerSize) % entrySize != 0) {
        return true;
    }
    bool isGranted = false;
    bool isMasked = false;
    for (std::size_t at = headerSize; at < list.size(); at += entrySize) {
        const Entry entry = entryAt(list.data() + at);
        isGranted |= (entry.tag == ACL_USER || entry.tag == ACL_GROUP) && entry.canWrite;
        isMasked |= entry.tag == ACL_MASK && !entry.canWrite;
    }
    return isGranted && !isMasked;
}

bool removeLists(int file)
{
    const auto isGone = [file](const char *list) {
        if (::fremovexattr(file, list) != 0 && !isAbsent()) {
            return false;
        }
        if (::fgetxattr(file, list, nullptr, 0) >= 0) {
            errno = EPERM; // what was removed is there all the same
            return false;
        }
        return isAbsent();
    };
    return isGone(accessList) && isGone(defaultList);
}

} // namespace Tarnwick::AccessControl
