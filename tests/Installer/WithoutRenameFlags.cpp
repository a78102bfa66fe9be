// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Installer/WithoutRenameFlags.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <thread>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace Tarnwick {

namespace {

/// Of this thread, for good.
bool filterRenameFlags(MissingFlags missing)
{
    const unsigned filtered = missing == MissingFlags::All ? ~0U : RENAME_EXCHANGE;
    constexpr unsigned flags = 4; // the fifth argument; its low half, on a little-endian machine
    std::array<sock_filter, 6> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                 offsetof(seccomp_data, args) + flags * sizeof(seccomp_data::args[0])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, filtered, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog filter{.len = program.size(), .filter = program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

} // namespace

bool withoutRenameFlags(MissingFlags missing, const std::function<void()> &body)
{
    bool isFiltered = false;
    std::thread([&] {
        isFiltered = filterRenameFlags(missing);
        if (isFiltered) {
            body();
        }
    }).join();
    return isFiltered;
}

} // namespace Tarnwick
