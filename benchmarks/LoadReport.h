// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// What the processes of a load tell whoever started them, all through the one pipe that they have
/// as standard output: lines that never mix.
///
///     owns PORT PID       PID listens there, and has opened the socket
///     shares PORT PID     PID has inherited the socket
///     process PID         all of PID's descriptors are open and told
///     failed REASON       the load will never be complete
class LoadReport
{
public:
    void owns(std::span<const std::uint16_t> ports);
    void shares(std::span<const std::uint16_t> ports);
    void complete();
    void failed(std::string_view reason);

private:
    void add(const std::string &line);
    void send();

    std::string m_lines;
};

} // namespace Tarnwick
