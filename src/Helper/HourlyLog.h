// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Logs what may happen again and again: one line for each kind and hour. One thread.
class HourlyLog
{
public:
    using Clock = std::chrono::steady_clock;
    using Write = std::function<void(std::string_view line)>;
    using Now = std::function<Clock::time_point()>;

    /// Nothing is logged without a @p write.
    explicit HourlyLog(Write write, Now now = &Clock::now)
        : m_write(std::move(write))
        , m_now(std::move(now))
    {
    }

    /// Writes @p kind with @p details behind it, unless that kind was written less than an hour
    /// ago.
    void log(const std::string &kind, std::string_view details = {})
    {
        constexpr std::chrono::hours interval{1};
        const auto [known, isNew] = m_written.try_emplace(kind, m_now());
        if (!isNew && m_now() < known->second + interval) {
            return;
        }
        known->second = m_now();
        if (m_write) {
            m_write(kind + std::string(details));
        }
    }

private:
    Write m_write;
    Now m_now;
    std::map<std::string, Clock::time_point> m_written;
};

} // namespace Tarnwick
