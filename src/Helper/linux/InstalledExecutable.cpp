// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/InstalledExecutable.h"

#include "Helper/linux/ProcFs.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

constexpr std::string_view deletedMark = " (deleted)";

std::string_view fileName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

} // namespace

InstalledExecutable::Match InstalledExecutable::match(int root, pid_t pid,
                                                      std::span<const std::string_view> known)
{
    const std::string link = std::to_string(pid) + "/exe";
    std::string path;
    if (!ProcFs::readLink(root, link.c_str(), path)) {
        return errno == EACCES || errno == EPERM ? Match::Unreadable : Match::Other;
    }
    const bool isDeleted = path.ends_with(deletedMark);
    if (isDeleted) {
        path.resize(path.size() - deletedMark.size());
    }
    // Most processes are none of these: their files need not be looked up.
    const auto hasItsName = [&path](std::string_view candidate) {
        return fileName(candidate) == fileName(path);
    };
    if (std::none_of(known.begin(), known.end(), hasItsName)) {
        return Match::Other;
    }
    struct statx running = {};
    if (::statx(root, link.c_str(), AT_STATX_DONT_SYNC, STATX_INO | STATX_UID | STATX_NLINK,
                &running) != 0) {
        SystemFailures::note("statx", errno);
        return Match::Other;
    }
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](std::string_view candidate) {
        struct statx installed = {};
        const std::string file(candidate);
        if (::statx(AT_FDCWD, file.c_str(), AT_STATX_DONT_SYNC, STATX_INO, &installed) == 0 &&
            installed.stx_ino == running.stx_ino &&
            installed.stx_dev_major == running.stx_dev_major &&
            installed.stx_dev_minor == running.stx_dev_minor) {
            return true;
        }
        return isDeleted && path == candidate && running.stx_uid == 0 && running.stx_nlink == 0;
    });
    return isKnown ? Match::Known : Match::Other;
}

} // namespace Tarnwick
