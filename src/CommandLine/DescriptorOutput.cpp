// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorOutput.h"

#include "CommandLine/Number.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::size_t columnsFromEnvironment(std::size_t otherwise)
{
    const char *columns = std::getenv("COLUMNS");
    if (columns == nullptr) {
        return otherwise;
    }
    const auto number = parseNumber(columns, 1, 10'000);
    return number ? static_cast<std::size_t>(*number) : otherwise;
}

} // namespace

std::error_code DescriptorOutput::write(std::string_view text)
{
    // A pipe that is writable takes PIPE_BUF bytes without waiting (pipe(7)).
    const std::size_t longestStep = m_interrupter >= 0 ? PIPE_BUF : text.size();
    while (!text.empty()) {
        if (m_interrupter >= 0) {
            if (const std::error_code error = awaitReader()) {
                return error;
            }
        }
        const ssize_t written =
            ::write(m_descriptor, text.data(), std::min(text.size(), longestStep));
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // The descriptor was made non-blocking by whoever else shares it.
            if (const std::error_code error = awaitReader()) {
                return error;
            }
        } else if (errno != EINTR) {
            return lastError();
        }
    }
    return {};
}

std::error_code DescriptorOutput::awaitReader() const
{
    std::array<pollfd, 2> awaited{
        pollfd{.fd = m_descriptor, .events = POLLOUT, .revents = 0},
        pollfd{.fd = m_interrupter, .events = POLLIN, .revents = 0},
    };
    while (poll(awaited.data(), awaited.size(), -1) < 0) {
        if (errno != EINTR) {
            return lastError();
        }
    }
    if (awaited[0].revents == 0) {
        return std::make_error_code(std::errc::interrupted);
    }
    return {};
}

TerminalShape DescriptorOutput::terminal() const
{
    winsize size{};
    if (ioctl(m_descriptor, TIOCGWINSZ, &size) != 0) {
        return {};
    }
    TerminalShape shape{.isTerminal = true};
    shape.columns = size.ws_col > 0 ? size.ws_col : columnsFromEnvironment(shape.columns);
    shape.rows = size.ws_row > 0 ? size.ws_row : shape.rows;
    return shape;
}

} // namespace Tarnwick
