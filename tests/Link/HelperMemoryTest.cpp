// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/HelperFixture.h"
#include "tests/Support/HelperProgram.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <sys/resource.h>

namespace Tarnwick {
namespace {

/// What becomes of requests when the helper's address space may grow only by so many bytes.
class HelperMemory : public HelperFixture, public ::testing::WithParamInterface<std::size_t>
{
protected:
    /// How long the answers of a helper that is not stuck may take.
    static constexpr std::chrono::seconds patience{60};
    /// Of each client.
    static constexpr std::size_t requests = 32;

    void SetUp() override
    {
        HelperFixture::SetUp();
        if (isSanitized) {
            GTEST_SKIP() << "a sanitizer takes memory of its own";
        }
        // What a first listing takes is not to be had twice.
        ASSERT_TRUE(m_caller.list().records().has_value());
    }

    /// It may have ended, but not by a signal.
    void TearDown() override
    {
        if (!m_helper.hasEnded()) {
            HelperFixture::TearDown();
            return;
        }
        EXPECT_LT(m_helper.awaitEnd(patience).value_or(255), 128) << m_helper.output();
        EXPECT_NE(m_helper.output(), "");
    }

    void setLimit(rlim_t bytes) const
    {
        const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
        ASSERT_EQ(::prlimit(m_helper.pid(), RLIMIT_AS, &limit, nullptr), 0);
    }

    /// Everything that a client can ask.
    static void askForAll(BusCaller &caller)
    {
        constexpr std::int32_t nobody = 0x7fff'fffe;
        for (std::size_t asked = 0; asked < requests; asked += 4) {
            caller.askForList();
            caller.askToKill(nobody);
            caller.send(version(caller));
            caller.send(caller.request("NoSuchMember"));
        }
        caller.flush();
    }

    [[nodiscard]] static BusMessage version(const BusCaller &caller)
    {
        sd_bus_message *made = nullptr;
        sd_bus_message_new_method_call(caller.bus(), &made, "com.velmora.tarnwick.helper",
                                       "/com/velmora/tarnwick/helper",
                                       "org.freedesktop.DBus.Properties", "Get");
        sd_bus_message_append(made, "ss", "com.velmora.tarnwick.helper", "Version");
        return take(made);
    }
};

TEST_P(HelperMemory, AnswersEveryRequestOrLeavesTheBus)
{
    constexpr std::size_t clients = 100;
    setLimit(m_helper.virtualMemory() * 1024 + GetParam());
    // All at once, which takes more memory than one by one.
    m_helper.signal(SIGSTOP);
    std::vector<std::unique_ptr<BusCaller>> callers;
    for (std::size_t client = 0; client < clients; ++client) {
        callers.push_back(std::make_unique<BusCaller>(m_bus.address()));
        askForAll(*callers.back());
    }
    m_helper.signal(SIGCONT);
    for (std::size_t client = 0; client < clients; ++client) {
        EXPECT_TRUE(callers.at(client)->awaitAll(patience)) << client;
    }
    setLimit(RLIM_INFINITY);
}

INSTANTIATE_TEST_SUITE_P(Headroom, HelperMemory,
                         ::testing::Values(0, 16UL * 1024, 64UL * 1024, 256UL * 1024,
                                           1024UL * 1024));

} // namespace
} // namespace Tarnwick
