// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/WriteAll.h"

#include <cerrno>
#include <climits>
#include <cstddef>

#include <poll.h>
#include <sys/stat.h>
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

std::size_t writeAvailable(int descriptor, std::string_view bytes) noexcept
{
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        return writeAll(descriptor, bytes);
    }
    std::size_t done = 0;
    while (done < bytes.size()) {
        // What is ready takes a line of PIPE_BUF (poll(2), pipe(7)).
        pollfd ready = {.fd = descriptor, .events = POLLOUT, .revents = 0};
        if (::poll(&ready, 1, 0) <= 0) {
            break;
        }
        const std::string_view part = bytes.substr(done, PIPE_BUF);
        const std::size_t written = writeAll(descriptor, part);
        done += written;
        if (written < part.size()) {
            break;
        }
    }
    return done;
}

} // namespace Tarnwick
