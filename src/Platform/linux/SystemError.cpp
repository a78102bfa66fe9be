// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SystemError.h"

#include <cstring>

namespace Tarnwick::SystemError {

namespace {

constexpr std::string_view prefix = "System.Error.";
constexpr int highest = 4095; // of the kernel's error numbers, MAX_ERRNO of linux/err.h

} // namespace

std::optional<int> codeForName(std::string_view name)
{
    if (!name.starts_with(prefix)) {
        return std::nullopt;
    }
    const std::string_view wanted = name.substr(prefix.size());
    for (int code = 1; code <= highest; ++code) {
        const char *known = ::strerrorname_np(code);
        if (known != nullptr && wanted == known) {
            return code;
        }
    }
    return std::nullopt;
}

} // namespace Tarnwick::SystemError
