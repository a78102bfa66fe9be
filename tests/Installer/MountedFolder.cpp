// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Installer/MountedFolder.h"

#include <fstream>
#include <utility>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

bool becomeRootOfOwnNamespace()
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return ::geteuid() == 0;
}

bool haveOwnMounts()
{
    static const bool isDone =
        (::geteuid() == 0 ? ::unshare(CLONE_NEWNS) == 0 : becomeRootOfOwnNamespace()) &&
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return isDone;
}

} // namespace

MountedFolder::MountedFolder(std::filesystem::path place, const std::string &options,
                             unsigned long flags)
    : m_place(std::move(place))
    , m_isMounted(haveOwnMounts() &&
                  ::mount("tmpfs", m_place.c_str(), "tmpfs", flags, options.c_str()) == 0)
{
}

MountedFolder::~MountedFolder()
{
    if (m_isMounted) {
        ::umount2(m_place.c_str(), MNT_DETACH);
    }
}

bool MountedFolder::makeReadOnly() const
{
    return ::mount(nullptr, m_place.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

} // namespace Tarnwick
