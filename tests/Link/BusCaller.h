// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"
#include "Shared/RawPortInfo.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// A client of the helper, of the test's own, over a connection of its own. It reads its answers
/// only while it waits for some. Errors of the connection itself throw std::system_error.
class BusCaller
{
public:
    struct Answer
    {
        std::string error; ///< the name of the error; empty when there was none
        std::string payload;
        std::optional<std::int32_t> code;

        /// The records of the payload; nothing when it does not decode.
        [[nodiscard]] std::optional<std::vector<RawPortInfo>> records() const;
    };
    using Request = std::size_t;
    using Clock = std::chrono::steady_clock;

    explicit BusCaller(const std::string &address);
    ~BusCaller();
    BusCaller(const BusCaller &) = delete;
    BusCaller &operator=(const BusCaller &) = delete;

    /// Ask without waiting; the answer is to be had under the number.
    Request askForList();
    Request askForList(const std::string &destination);
    Request askToKill(std::int32_t pid);
    Request send(const BusMessage &request);
    /// A request of the helper, to be filled.
    [[nodiscard]] BusMessage request(const char *member) const;

    /// Waits for an answer; one with the error "none" when nothing comes.
    [[nodiscard]] const Answer &answer(Request request,
                                       std::chrono::milliseconds patience = usualPatience);
    /// Whether all that was asked was answered within @p patience.
    [[nodiscard]] bool awaitAll(std::chrono::milliseconds patience = usualPatience);
    [[nodiscard]] bool isAnswered(Request request) const;
    [[nodiscard]] std::size_t answers() const { return m_answered; }

    /// Asks and waits.
    Answer list() { return answer(askForList()); }
    Answer kill(std::int32_t pid) { return answer(askToKill(pid)); }

    /// Sends what is still to be sent, to the last byte.
    void flush() const;
    /// Leaves the bus, whatever is outstanding.
    void leave();

    /// The unique name of who has @p name; empty when nobody has.
    [[nodiscard]] std::string owner(const std::string &name) const;
    /// Waits until the helper is on the bus, or has left it.
    [[nodiscard]] bool awaitHelper(std::chrono::milliseconds patience = usualPatience) const;
    [[nodiscard]] bool awaitNoHelper(std::chrono::milliseconds patience = usualPatience) const;
    /// The process behind @p name.
    [[nodiscard]] std::int32_t process(const std::string &name) const;

    [[nodiscard]] sd_bus *bus() const { return m_bus.get(); }

    static constexpr std::chrono::seconds usualPatience{60};

private:
    struct Pending
    {
        BusCaller *caller;
        std::optional<Answer> answer;
    };

    static int onAnswer(sd_bus_message *reply, void *pending, sd_bus_error *error);
    /// Does one piece of work, waiting for it until @p deadline; false when there was none.
    bool work(Clock::time_point deadline);

    BusHandle m_bus;
    std::deque<Pending> m_requests; ///< their places in memory stay the same
    std::size_t m_answered = 0;
};

} // namespace Tarnwick
