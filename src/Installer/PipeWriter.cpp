// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PipeWriter.h"

#include "Shared/WriteAll.h"

#include <cerrno>
#include <climits>

#include <poll.h>
#include <sys/ioctl.h>

namespace Tarnwick {

PipeWriter::PipeWriter(int descriptor, std::chrono::milliseconds timeout, Start start)
    : m_descriptor(descriptor)
    , m_timeout(static_cast<int>(timeout.count()))
    , m_isLimited(start == Start::InTime)
{
}

bool PipeWriter::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (!awaitRoom()) {
            return false;
        }
        // What has room takes so much at once (poll(2), pipe(7)).
        const std::string_view part = bytes.substr(0, PIPE_BUF);
        const std::size_t written = writeAll(m_descriptor, part);
        m_written += written;
        if (written < part.size()) {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

bool PipeWriter::isReadFrom() const
{
    int unread = 0;
    return ::ioctl(m_descriptor, FIONREAD, &unread) == 0 && unread >= 0 &&
           static_cast<std::size_t>(unread) < m_written;
}

bool PipeWriter::awaitRoom()
{
    while (true) {
        pollfd waiting = {.fd = m_descriptor, .events = POLLOUT, .revents = 0};
        const int ready = ::poll(&waiting, 1, m_timeout);
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
        if (ready == 0 && m_isLimited) {
            errno = ETIMEDOUT;
            return false;
        }
        m_isLimited = m_isLimited || isReadFrom();
    }
}

} // namespace Tarnwick
