// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PipeReader.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::size_t bufferSize = 64UL * 1024;

std::string inWords(int milliseconds)
{
    constexpr int second = 1000;
    return milliseconds % second == 0 ? std::to_string(milliseconds / second) + " s"
                                      : std::to_string(milliseconds) + " ms";
}

} // namespace

PipeReader::PipeReader(int descriptor, std::optional<std::chrono::milliseconds> timeout)
    : m_descriptor(descriptor)
    , m_timeout(timeout ? static_cast<int>(timeout->count()) : -1)
{
}

std::optional<std::string> PipeReader::line()
{
    std::string result;
    while (true) {
        if (m_taken == m_buffer.size() && !fill()) {
            return std::nullopt;
        }
        const std::size_t end = m_buffer.find('\n', m_taken);
        result.append(m_buffer, m_taken, end == std::string::npos ? end : end - m_taken);
        if (result.size() > maxLine) {
            m_problem = "sent a line of more than " + std::to_string(maxLine) + " bytes";
            return std::nullopt;
        }
        if (end != std::string::npos) {
            m_taken = end + 1;
            return result;
        }
        m_taken = m_buffer.size();
    }
}

std::string PipeReader::bytes(std::size_t most)
{
    if (m_taken == m_buffer.size() && !fill()) {
        return {};
    }
    const std::size_t count = std::min(most, m_buffer.size() - m_taken);
    m_taken += count;
    return m_buffer.substr(m_taken - count, count);
}

bool PipeReader::fill()
{
    m_buffer.resize(bufferSize);
    m_taken = 0;
    ssize_t count = 0;
    int ready = 0;
    do {
        pollfd waiting = {.fd = m_descriptor, .events = POLLIN, .revents = 0};
        ready = ::poll(&waiting, 1, m_timeout);
        count = ready > 0 ? ::read(m_descriptor, m_buffer.data(), m_buffer.size()) : ready;
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        m_problem = "cannot be read from: " + std::generic_category().message(errno);
    } else if (ready == 0) {
        m_problem = "sent nothing for " + inWords(m_timeout);
        m_hasTimedOut = true;
    } else if (count == 0) {
        m_problem = "ended too early";
    }
    m_buffer.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

} // namespace Tarnwick
