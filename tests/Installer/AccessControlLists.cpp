// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Installer/AccessControlLists.h"

#include <cstdint>

#include <endian.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>

namespace Tarnwick {

bool setAccessControlList(const std::filesystem::path &folder, const std::string &which,
                          unsigned permissions)
{
    constexpr std::uint32_t noId = ~0U;
    constexpr std::uint32_t someUser = 12345;
    constexpr unsigned all = ACL_READ | ACL_WRITE | ACL_EXECUTE;
    constexpr unsigned others = ACL_READ | ACL_EXECUTE;
    const auto entry = [](unsigned tag, unsigned allowed, std::uint32_t id) {
        return posix_acl_xattr_entry{.e_tag = htole16(static_cast<std::uint16_t>(tag)),
                                     .e_perm = htole16(static_cast<std::uint16_t>(allowed)),
                                     .e_id = htole32(id)};
    };
    const posix_acl_xattr_header header{.a_version = htole32(POSIX_ACL_XATTR_VERSION)};
    std::string list(reinterpret_cast<const char *>(&header), sizeof header);
    for (const posix_acl_xattr_entry &one :
         {entry(ACL_USER_OBJ, all, noId), entry(ACL_USER, permissions, someUser),
          entry(ACL_GROUP_OBJ, others, noId), entry(ACL_MASK, all, noId),
          entry(ACL_OTHER, others, noId)}) {
        list.append(reinterpret_cast<const char *>(&one), sizeof one);
    }
    return ::setxattr(folder.c_str(), ("system.posix_acl_" + which).c_str(), list.data(),
                      list.size(), 0) == 0;
}

} // namespace Tarnwick
