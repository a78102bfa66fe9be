// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

std::atomic<std::uint64_t> failures{0};
std::mutex kindsMutex;

std::vector<SystemFailures::Failure> &kinds()
{
    static std::vector<SystemFailures::Failure> noted;
    return noted;
}

} // namespace

bool SystemFailures::isTransient(int code)
{
    return code == EMFILE || code == ENFILE || code == ENOMEM || code == ENOBUFS || code == EINTR ||
           code == EIO;
}

void SystemFailures::note(const char *call, int code)
{
    failures += isTransient(code) ? 1 : 0;
    noteRepeated(call, code);
}

void SystemFailures::noteRepeated(const char *call, int code)
{
    if (!isTransient(code)) {
        return;
    }
    const int before = errno;
    {
        const std::lock_guard lock(kindsMutex);
        const bool known = std::any_of(kinds().begin(), kinds().end(), [&](const Failure &kind) {
            return kind.code == code && std::string_view(kind.call) == call;
        });
        if (!known) {
            kinds().push_back({call, code});
        }
    }
    errno = before;
}

std::uint64_t SystemFailures::count()
{
    return failures;
}

std::vector<SystemFailures::Failure> SystemFailures::take()
{
    const std::lock_guard lock(kindsMutex);
    return std::exchange(kinds(), {});
}

} // namespace Tarnwick
