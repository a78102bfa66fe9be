// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/ExitTimeout.h"

#include "Shared/AppLog.h"

#include <cstdlib>
#include <system_error>

namespace Tarnwick {

ExitTimeout::~ExitTimeout()
{
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_hasEnded = true;
    }
    m_ended.notify_one();
    m_thread.join();
}

void ExitTimeout::start(int status, std::chrono::milliseconds timeout) noexcept
{
    const auto wait = [this, status, timeout] {
        std::unique_lock lock(m_mutex);
        if (!m_ended.wait_for(lock, timeout, [this] { return m_hasEnded; })) {
            AppLog::flush();
            std::_Exit(status);
        }
    };
    try {
        m_thread = std::thread(wait);
    } catch (const std::system_error &) {
        return;
    }
}

} // namespace Tarnwick
