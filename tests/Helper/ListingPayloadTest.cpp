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

std::vector<std::int64_t> pidsIn(const std::string &bytes)
{
    std::vector<std::int64_t> pids;
    const RawPortInfo::Decoded decoded = RawPortInfo::decode(bytes);
    for (const RawPortInfo &record : std::get<std::vector<RawPortInfo>>(decoded)) {
        pids.push_back(record.pid);
    }
    return pids;
}

TEST(ListingPayloadTest, IsWholeForAClientThatNeverListed)
{
    EXPECT_FALSE(payload({process(1, 10)}).after(nullptr));
}

TEST(ListingPayloadTest, IsWholeWhereNoProgramWasReplaced)
{
    const SharedProcessReport before = report({process(1, 10), process(3, 30)});
    EXPECT_FALSE(payload({process(1, 10), process(2, 20)}).after(before.get()));
}

TEST(ListingPayloadTest, LeavesOutAProcessThatBecameAnotherProgramOnce)
{
    const SharedProcessReport before = report({process(1, 10), process(2, 20)});
    const ListingPayload next = payload({process(1, 11), process(2, 20)});
    const std::optional<ListingPayload::Reduced> reduced = next.after(before.get());
    ASSERT_TRUE(reduced);
    EXPECT_THAT(pidsIn(reduced->bytes), ElementsAre(0, 2));
    EXPECT_NE(reduced->report->find(1), nullptr) << "it is still the process that was shown";
    EXPECT_FALSE(next.after(reduced->report.get()));
    EXPECT_THAT(pidsIn(next.bytes()), ElementsAre(0, 1, 2));
}

TEST(ListingPayloadTest, LeavesOutNoProcessTwiceInARowHoweverOftenItsProgramChanges)
{
    const SharedProcessReport before = report({process(1, 10)});
    const std::optional<ListingPayload::Reduced> reduced =
        payload({process(1, 11)}).after(before.get());
    ASSERT_TRUE(reduced);
    EXPECT_FALSE(payload({process(1, 12)}).after(reduced->report.get()));
}

TEST(ListingPayloadTest, DoesNotReportAProcessThatGotTheIdentifierOfAnotherUntilItIsListed)
{
    const SharedProcessReport before = report({process(1, 10, 7)});
    const ListingPayload next = payload({process(1, 10, 8)});
    const std::optional<ListingPayload::Reduced> reduced = next.after(before.get());
    ASSERT_TRUE(reduced);
    EXPECT_THAT(pidsIn(reduced->bytes), ElementsAre(0));
    EXPECT_EQ(reduced->report->find(1), nullptr);
    EXPECT_FALSE(next.after(reduced->report.get()));
}

} // namespace
} // namespace Tarnwick
