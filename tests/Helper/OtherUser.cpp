// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/OtherUser.h"

#include "Helper/ListenerInventory.h"
#include "Shared/FileDescriptor.h"
#include "Shared/WriteAll.h"

#include <array>
#include <string>

#include <fcntl.h>
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
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        if (!prepare()) {
            ::_exit(1);
        }
        ListenerInventory inventory;
        if (warm) {
            static_cast<void>(inventory.list());
        }
        const Listing listing = inventory.list();
        if (const auto *records = std::get_if<std::vector<RawPortInfo>>(&listing)) {
            writeAll(writeEnd.get(), RawPortInfo::encode(*records));
        }
        ::_exit(0);
    }
    writeEnd.reset();
    std::string payload;
    std::array<char, 65536> buffer{};
    for (ssize_t got = 0; (got = ::read(readEnd.get(), buffer.data(), buffer.size())) > 0;) {
        payload.append(buffer.data(), static_cast<std::size_t>(got));
    }
    ::waitpid(child, nullptr, 0);
    RawPortInfo::Decoded decoded = RawPortInfo::decode(payload);
    auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    return records != nullptr ? std::move(*records) : std::vector<RawPortInfo>{};
}

} // namespace Tarnwick
