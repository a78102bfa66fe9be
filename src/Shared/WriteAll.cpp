// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/WriteAll.h"

#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace Tarnwick {

bool writeAll(int descriptor, std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace Tarnwick
