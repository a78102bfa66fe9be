// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/HelperFixture.h"
#include "tests/Support/HelperProgram.h"
#include "tests/Support/HostileServer.h"
#include "tests/Support/OwnNetwork.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {
namespace {

/// What the helper's listings are where processes do their best to make them large.
class HelperBounds : public HelperFixture
{
protected:
    static constexpr std::size_t mebibyte = 1024UL * 1024;

    static void SetUpTestSuite() { isAlone = enterOwnNetwork(); }

    /// The helper ends half a minute after it was started unless somebody asks it something, and
    /// what the tests prepare may take longer.
    void SetUp() override
    {
        HelperFixture::SetUp();
        ASSERT_TRUE(m_caller.list().records().has_value()) << m_helper.output();
    }

    /// The process identifiers and ports of what @p puppet listens on from now on.
    static void listen(Puppet &puppet, int count, std::set<std::pair<std::int64_t, int>> &listeners)
    {
        for (int left = count; left > 0; --left) {
            listeners.emplace(puppet.pid(), puppet.listen().port);
        }
    }

    /// Expects that two listings hold all of @p listeners, and are no larger than they may be.
    void expectAll(const std::set<std::pair<std::int64_t, int>> &listeners)
    {
        for (int listing = 0; listing < 2; ++listing) {
            const BusCaller::Answer answer = m_caller.list();
            const auto records = answer.records();
            ASSERT_TRUE(records.has_value()) << answer.error;
            EXPECT_LE(answer.payload.size(), 17 * mebibyte);
            std::set<std::pair<std::int64_t, int>> listed;
            for (const RawPortInfo &record : *records) {
                listed.emplace(record.pid, static_cast<int>(record.port));
                EXPECT_FALSE(record.processName.empty());
            }
            EXPECT_TRUE(
                std::includes(listed.begin(), listed.end(), listeners.begin(), listeners.end()));
        }
        EXPECT_FALSE(m_helper.hasEnded());
        RecordProperty("residentPeak_kB", std::to_string(m_helper.peakMemory()));
        if (!isSanitized) {
            EXPECT_LE(m_helper.peakMemory(), 160'000U);
        }
    }

    inline static bool isAlone = false;
};

TEST_F(HelperBounds, ListsAProcessThatNamesItselfInControlCharacters)
{
    const TemporaryCopy copies;
    std::filesystem::path folder = copies.folder();
    while (folder.native().size() < 3500) {
        folder /= std::string(250, '\x02');
    }
    std::filesystem::create_directories(folder);
    Puppet hostile = hostileServer();
    hostile.changeDirectory(folder);
    std::set<std::pair<std::int64_t, int>> listeners;
    listen(hostile, 400, listeners);
    Puppet modest;
    listen(modest, 1, listeners);
    expectAll(listeners);
}

TEST_F(HelperBounds, ListsTenThousandListenersWithPathsAsLongAsTheyMayBe)
{
    if (!isAlone) {
        GTEST_SKIP() << "takes a third of the machine's ports; that needs a network of its own";
    }
    const TemporaryCopy copies;
    std::filesystem::path folder = copies.folder();
    while (folder.native().size() < 3800) {
        folder /= std::string(200, 'd');
    }
    std::filesystem::create_directories(folder);
    const std::filesystem::path program = folder / "server";
    std::filesystem::copy_file(Puppet::program(), program);
    std::set<std::pair<std::int64_t, int>> listeners;
    std::vector<Puppet> servers;
    for (int server = 0; server < 12; ++server) {
        servers.emplace_back(program, std::vector<std::string>{"server", std::string(2000, 'x')});
        servers.back().changeDirectory(folder);
        listen(servers.back(), 900, listeners);
    }
    expectAll(listeners);
}

} // namespace
} // namespace Tarnwick
