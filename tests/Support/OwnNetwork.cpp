// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/OwnNetwork.h"

#include "Shared/FileDescriptor.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace Tarnwick {

bool enterOwnNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0) {
        return false;
    }
    const FileDescriptor any(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq loopback = {.ifr_ifrn = {"lo"}, .ifr_ifru = {}};
    loopback.ifr_flags = IFF_UP;
    return ::ioctl(any.get(), SIOCSIFFLAGS, &loopback) == 0;
}

} // namespace Tarnwick
