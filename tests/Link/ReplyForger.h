// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <thread>

namespace Tarnwick {

/// A process of the session that answers what it was not asked: it sends replies to calls that
/// others make of others. Errors of its connection throw std::runtime_error.
class ReplyForger
{
public:
    /// Fills a forged reply.
    using Fill = std::function<void(sd_bus_message *reply)>;

    /// On the bus when the constructor returns.
    explicit ReplyForger(const std::string &address);
    ~ReplyForger();
    ReplyForger(const ReplyForger &) = delete;
    ReplyForger &operator=(const ReplyForger &) = delete;

    /// From now on eavesdrops on calls of @p member, whoever makes them, and replies at once to the
    /// first @p most of them. Once for each forger.
    void replyTo(const std::string &member, Fill fill, int most = std::numeric_limits<int>::max());

    /// Replies to the call of @p destination with a serial number that was guessed.
    void replyTo(const std::string &destination, std::uint64_t serial, const Fill &fill) const;

    /// Replies with the error @p name.
    void replyWithErrorTo(const std::string &destination, std::uint64_t serial,
                          const char *name) const;

    /// Waits until the bus has delivered what was sent before.
    void flush() const;

    /// How many calls were replied to.
    [[nodiscard]] int forged() const { return m_forged; }
    [[nodiscard]] const std::string &name() const { return m_name; }

private:
    [[nodiscard]] BusMessage callWith(std::uint64_t serial) const;
    void run();
    static int onMessage(sd_bus_message *message, void *forger, sd_bus_error *error);

    BusHandle m_bus;
    std::string m_name;
    std::string m_member;
    Fill m_fill;
    int m_most = 0;
    std::atomic<int> m_forged = 0;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

} // namespace Tarnwick
