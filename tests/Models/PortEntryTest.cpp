// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/PortEntry.h"

#include <gtest/gtest.h>

#include <chrono>
#include <unordered_set>

using namespace Tarnwick;

namespace {

PortEntry nodeEntry()
{
    return {
        .id = Uuid::random(),
        .port = 3000,
        .pid = 42,
        .process = "node",
        .command = "/usr/local/bin/node",
        .cwd = "/home/ann/site",
        .arguments = {"node", "server.js"},
        .originArguments = {"npm", "run", "dev"},
        .memoryBytes = 1'000'000,
        .tier = PortTier::Dev,
        .description = "Node.js",
        .settingsLink = std::nullopt,
        .openedAt = Timestamp(std::chrono::seconds(1'700'000'000)),
    };
}

std::size_t hashOf(const PortEntry &entry)
{
    return std::hash<PortEntry>{}(entry);
}

} // namespace

TEST(PortEntry, IsRecognisedWhateverElseHasChangedButPidPortAndProcess)
{
    const PortEntry first = nodeEntry();
    const PortEntry second{
        .id = Uuid::random(),
        .port = first.port,
        .pid = first.pid,
        .process = first.process,
        .command = "/opt/node",
        .cwd = "/",
        .arguments = {},
        .originArguments = {},
        .memoryBytes = 2'000'000,
        .tier = PortTier::Unknown,
        .description = "something",
        .settingsLink = "Sharing",
        .openedAt = first.openedAt + std::chrono::seconds(1),
    };

    EXPECT_EQ(first, second);
    EXPECT_EQ(hashOf(first), hashOf(second));
    EXPECT_EQ((std::unordered_set<PortEntry>{first, second}.size()), 1U);
}

TEST(PortEntry, DiffersWhenTheProcessIsSpeltInAnotherCase)
{
    PortEntry other = nodeEntry();
    other.process = "Node";
    EXPECT_NE(nodeEntry(), other);
    EXPECT_NE(hashOf(nodeEntry()), hashOf(other));
}

TEST(PortEntry, DiffersWhenThePidDiffers)
{
    PortEntry other = nodeEntry();
    other.pid = 43;
    EXPECT_NE(nodeEntry(), other);
    EXPECT_NE(hashOf(nodeEntry()), hashOf(other));
}

TEST(PortEntry, DiffersWhenThePortDiffers)
{
    PortEntry other = nodeEntry();
    other.port = 3001;
    EXPECT_NE(nodeEntry(), other);
    EXPECT_NE(hashOf(nodeEntry()), hashOf(other));
}

TEST(PortEntry, DiffersWhenPidAndPortAreSwapped)
{
    PortEntry other = nodeEntry();
    std::swap(other.pid, other.port);
    EXPECT_NE(nodeEntry(), other);
    EXPECT_NE(hashOf(nodeEntry()), hashOf(other));
}

TEST(PortEntry, HoldsNumbersOf64Bits)
{
    PortEntry entry = nodeEntry();
    entry.pid = INT64_MAX;
    entry.port = INT64_MIN;
    entry.memoryBytes = UINT64_MAX;
    const PortEntry &copy = PortEntry(entry);
    EXPECT_EQ(copy.pid, INT64_MAX);
    EXPECT_EQ(copy.port, INT64_MIN);
    EXPECT_EQ(copy.memoryBytes, UINT64_MAX);
}
