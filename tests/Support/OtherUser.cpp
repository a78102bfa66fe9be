// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/OtherUser.h"

#include "tests/Support/InventoryProcess.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

bool becomeOtherUser()
{
    return ::setgroups(0, nullptr) == 0 && ::setresgid(otherUser, otherUser, otherUser) == 0 &&
           ::setresuid(otherUser, otherUser, otherUser) == 0;
}

int inOwnProcess(const std::function<int()> &body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 127;
}

int asOtherUser(const std::function<int()> &body)
{
    return inOwnProcess([&body] { return becomeOtherUser() ? body() : 126; });
}

std::vector<RawPortInfo> listInOwnProcess(const std::function<bool()> &prepare, bool warm)
{
    InventoryProcess inventory(prepare);
    if (warm) {
        static_cast<void>(inventory.list());
    }
    return inventory.list();
}

} // namespace Tarnwick
