// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/WriteAll.h"

#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace Tarnwick {

std::size_t writeAll(int descriptor, std::string_view bytes) noexcept
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

} // namespace Tarnwick
