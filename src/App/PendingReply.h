// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/UnansweredCalls.h"
#include "Core/MainThread.h"

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace Tarnwick {

/// The wait of one coroutine on the main thread for the one call of a callback, on any thread. When
/// the callback is let go without having been called, the coroutine stays suspended for good: what
/// it holds stays held, and it is entered among the UnansweredCalls.
template<typename Reply>
class PendingReply
{
public:
    /// The callable that ends the wait. Calls after the first are ignored.
    [[nodiscard]] auto callback()
    {
        return [ticket = std::make_shared<Ticket>(m_wait)](auto &&...values) {
            ticket->redeem(Reply{std::forward<decltype(values)>(values)...});
        };
    }

    [[nodiscard]] bool await_ready() const { return m_wait->reply.has_value(); }
    void await_suspend(std::coroutine_handle<> coroutine) { m_wait->coroutine = coroutine; }
    [[nodiscard]] Reply await_resume() { return std::move(*m_wait->reply); }

private:
    /// Touched on the main thread only.
    struct Wait
    {
        std::optional<Reply> reply;
        std::coroutine_handle<> coroutine;

        void end(Reply value)
        {
            if (reply) {
                return;
            }
            reply = std::move(value);
            if (coroutine) {
                coroutine.resume();
            }
        }
    };

    class Ticket
    {
    public:
        explicit Ticket(std::shared_ptr<Wait> wait)
            : m_wait(std::move(wait))
        {
        }
        ~Ticket()
        {
            if (m_wait) {
                MainThread::post(
                    [wait = std::move(m_wait)] { UnansweredCalls::add(wait->coroutine); });
            }
        }
        Ticket(const Ticket &) = delete;
        Ticket &operator=(const Ticket &) = delete;

        void redeem(Reply value)
        {
            // Replies of one call come one after another.
            std::shared_ptr<Wait> wait = std::exchange(m_wait, nullptr);
            if (!wait) {
                return;
            }
            if (MainThread::isCurrent()) {
                wait->end(std::move(value));
                return;
            }
            MainThread::post(
                [wait = std::move(wait), reply = std::make_shared<Reply>(std::move(value))] {
                    wait->end(std::move(*reply));
                });
        }

    private:
        std::shared_ptr<Wait> m_wait;
    };

    std::shared_ptr<Wait> m_wait = std::make_shared<Wait>();
};

} // namespace Tarnwick
