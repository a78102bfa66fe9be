// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/ClientFixture.h"

#include <chrono>

using namespace Tarnwick;
using testing::IsEmpty;

namespace {

/// What nothing on the main thread may take while the bus hangs: far less than the 25 seconds after
/// which a wait for the bus would give up.
constexpr std::chrono::seconds atOnce{5};

/// In which a thread that connects surely comes to its wait for the bus.
constexpr std::chrono::milliseconds longEnoughToConnect{200};

/// Nothing waits for a bus that does not answer.
class PausedBusTest : public ClientFixture
{
protected:
    ~PausedBusTest() override { m_bus.resume(); }

    /// Whether @p action and a turn of the event loop after it take no time.
    template<class Action>
    [[nodiscard]] static bool isQuick(Action action)
    {
        const auto start = std::chrono::steady_clock::now();
        action();
        return turn(atOnce) && std::chrono::steady_clock::now() - start < atOnce;
    }
};

} // namespace

TEST_F(PausedBusTest, KeepsNobodyWaitingWhoAsksOverAnOpenConnection)
{
    ASSERT_TRUE(outcome(scan()).has_value());
    m_bus.pause();
    std::vector<Scan> scans;
    std::vector<Kill> kills;
    EXPECT_TRUE(isQuick([&] {
        for (int i = 0; i < 100; ++i) {
            scans.push_back(scan());
            kills.push_back(kill(1));
        }
    }));
    EXPECT_FALSE(scans.front().isThere());
    m_bus.resume();
    for (const Scan &each : scans) {
        EXPECT_TRUE(outcome(each).has_value());
    }
    for (const Kill &each : kills) {
        EXPECT_EQ(outcome(each), KillResult::PermissionDenied);
    }
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(PausedBusTest, KeepsNobodyWaitingWhoConnects)
{
    m_bus.pause();
    std::optional<Scan> first;
    std::optional<Scan> second;
    EXPECT_TRUE(isQuick([&] { first.emplace(scan()); }));
    EXPECT_TRUE(isQuick([&] { second.emplace(scan()); }));
    EXPECT_FALSE(first->isThere());
    m_bus.resume();
    EXPECT_TRUE(outcome(*first).has_value());
    EXPECT_TRUE(outcome(*second).has_value());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(PausedBusTest, KeepsNobodyWaitingWhoDropsAConnectionWhileAnotherOneIsMade)
{
    ASSERT_TRUE(outcome(scan()).has_value());
    const std::unique_ptr<HelperClient> other = makeClient();
    m_bus.pause();
    const Scan connecting(other->xpcScan());
    EXPECT_FALSE(await([&connecting] { return connecting.isThere(); }, longEnoughToConnect));
    EXPECT_TRUE(isQuick([this] { m_client.reset(); }));
    m_bus.resume();
    EXPECT_TRUE(outcome(connecting).has_value());
}

TEST_F(PausedBusTest, KeepsNobodyWaitingWhoGivesUpConnecting)
{
    m_bus.pause();
    const Scan lost = scan();
    EXPECT_FALSE(await([&lost] { return lost.isThere(); }, longEnoughToConnect));
    EXPECT_TRUE(isQuick([this] { m_client.reset(); }));
    m_bus.resume();
    m_client = makeClient();
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_FALSE(lost.isThere());
}
