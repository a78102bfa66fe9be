// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListingPayload.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

using ::testing::ElementsAre;

ReportedProcess process(std::int32_t pid, std::uint64_t program, std::uint64_t inode = 7)
{
    return {.process = {.pid = pid, .startTicks = 100, .inode = inode}, .program = program};
}

SharedProcessReport report(std::vector<ReportedProcess> processes)
{
    return std::make_shared<const ProcessReport>(std::move(processes));
}

/// A listing with one record for each process, and one without an owner.
ListingPayload payload(const std::vector<ReportedProcess> &processes)
{
    std::vector<RawPortInfo> records(1);
    for (const ReportedProcess &listed : processes) {
        RawPortInfo record;
        record.pid = listed.process.pid;
        records.push_back(record);
    }
    return {records, report(processes)};
}

std::vector<std::int64_t> pidsIn(const std::optional<std::string> &bytes)
{
    std::vector<std::int64_t> pids;
    const RawPortInfo::Decoded decoded = RawPortInfo::decode(bytes.value_or("[]"));
    for (const RawPortInfo &record : std::get<std::vector<RawPortInfo>>(decoded)) {
        pids.push_back(record.pid);
    }
    return pids;
}

TEST(ListingPayloadTest, IsWholeForAClientThatNeverListed)
{
    EXPECT_EQ(payload({process(1, 10)}).bytesAfter(nullptr), std::nullopt);
}

TEST(ListingPayloadTest, IsWholeWhereNoProgramWasReplaced)
{
    const SharedProcessReport before = report({process(1, 10), process(3, 30)});
    EXPECT_EQ(payload({process(1, 10), process(2, 20)}).bytesAfter(before.get()), std::nullopt);
}

TEST(ListingPayloadTest, LeavesOutAProcessThatBecameAnotherProgramOnce)
{
    const SharedProcessReport before = report({process(1, 10), process(2, 20)});
    const ListingPayload next = payload({process(1, 11), process(2, 20)});
    EXPECT_THAT(pidsIn(next.bytesAfter(before.get())), ElementsAre(0, 2));
    EXPECT_EQ(next.bytesAfter(next.report().get()), std::nullopt);
    EXPECT_THAT(pidsIn(next.bytes()), ElementsAre(0, 1, 2));
}

TEST(ListingPayloadTest, LeavesOutAProcessThatGotTheIdentifierOfAnotherOnce)
{
    const SharedProcessReport before = report({process(1, 10, 7)});
    EXPECT_THAT(pidsIn(payload({process(1, 10, 8)}).bytesAfter(before.get())), ElementsAre(0));
}

} // namespace
} // namespace Tarnwick
