// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/DescriptorLimit.h"

#include <sys/resource.h>

namespace Tarnwick {

std::uint64_t raiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return 0;
    }
    limit.rlim_cur = limit.rlim_max;
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : 0;
}

} // namespace Tarnwick
