// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/NeverDestroyed.h"
#include "Core/RawRecordSource.h"

#include <qcoro/coroutine.h>

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace Tarnwick {

/// A source that answers what the test says: `answer` at once, or, while it holds requests back,
/// when the test releases one.
class ScriptedSource : public RawRecordSource
{
public:
    using Clock = std::chrono::steady_clock;

    ~ScriptedSource() override
    {
        // Requests that are never answered are kept where the leak checker finds them.
        for (const std::coroutine_handle<> request : m_held) {
            (*abandoned()).push_back(request);
        }
    }

    QCoro::Task<std::vector<RawPortInfo>> xpcScan() override
    {
        requests.push_back(Clock::now());
        if (onRequest) {
            onRequest();
        }
        if (holdsBack) {
            co_await Held(m_held);
        }
        co_return movesAnswer ? std::exchange(answer, {}) : answer;
    }

    /// Answers the oldest request that is held back.
    void release()
    {
        const std::coroutine_handle<> request = m_held.front();
        m_held.erase(m_held.begin());
        request.resume();
    }

    [[nodiscard]] std::size_t heldBack() const { return m_held.size(); }

    std::vector<Clock::time_point> requests; ///< when they came
    std::vector<RawPortInfo> answer;
    bool holdsBack = false;
    bool movesAnswer = false; ///< gives each answer away without a copy
    std::function<void()> onRequest;

private:
    class Held
    {
    public:
        explicit Held(std::vector<std::coroutine_handle<>> &requests)
            : m_requests(&requests)
        {
        }

        [[nodiscard]] bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> request) const
        {
            m_requests->push_back(request);
        }
        void await_resume() const noexcept {}

    private:
        std::vector<std::coroutine_handle<>> *m_requests;
    };

    static NeverDestroyed<std::vector<std::coroutine_handle<>>> &abandoned()
    {
        static NeverDestroyed<std::vector<std::coroutine_handle<>>> requests;
        return requests;
    }

    std::vector<std::coroutine_handle<>> m_held;
};

} // namespace Tarnwick
