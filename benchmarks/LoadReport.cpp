// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "LoadReport.h"

#include "Shared/WriteAll.h"

#include <climits>

#include <unistd.h>

namespace Tarnwick {

namespace {

std::string socketLine(std::string_view what, std::uint16_t port)
{
    return std::string(what) + ' ' + std::to_string(port) + ' ' + std::to_string(::getpid());
}

} // namespace

void LoadReport::owns(std::span<const std::uint16_t> ports)
{
    for (const std::uint16_t port : ports) {
        add(socketLine("owns", port));
    }
    send();
}

void LoadReport::shares(std::span<const std::uint16_t> ports)
{
    for (const std::uint16_t port : ports) {
        add(socketLine("shares", port));
    }
    send();
}

void LoadReport::complete()
{
    add("process " + std::to_string(::getpid()));
    send();
}

void LoadReport::failed(std::string_view reason)
{
    add("failed " + std::string(reason));
    send();
}

/// pipe(7): only up to PIPE_BUF bytes are written in one piece.
void LoadReport::add(const std::string &line)
{
    if (m_lines.size() + line.size() + 1 > PIPE_BUF) {
        send();
    }
    m_lines += line;
    m_lines += '\n';
}

void LoadReport::send()
{
    static_cast<void>(writeAll(STDOUT_FILENO, m_lines));
    m_lines.clear();
}

} // namespace Tarnwick
