// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/RecordBounds.h"

#include "Shared/JsonText.h"
#include "Shared/Utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

/// Everything as large as its own bound lets it be.
RawPortInfo largest()
{
    const std::string controls(100'000, '\x01');
    RawPortInfo record{.pid = 4'194'304,
                       .port = 65'535,
                       .processName = RecordBounds::name(controls),
                       .commandPath = RecordBounds::path(controls),
                       .cwd = RecordBounds::path(controls),
                       .arguments = RecordBounds::arguments(std::vector<std::string>(500, "\x02")),
                       .originArguments = RecordBounds::arguments(std::vector<std::string>(500)),
                       .processStartedAt = Timestamp(std::chrono::hours(1000)),
                       .memoryBytes = UINT64_MAX};
    return record;
}

std::size_t encodedSize(const RawPortInfo &record)
{
    return RawPortInfo::encode({&record, 1}).size();
}

bool isBeginning(const std::vector<std::string> &first, const std::vector<std::string> &whole)
{
    return first.size() <= whole.size() && std::equal(first.begin(), first.end(), whole.begin());
}

TEST(RecordBounds, BoundsEachTextByItsSizeInThePayload)
{
    const std::string controls(100'000, '\x01');
    EXPECT_LE(JsonText::size(RecordBounds::name(controls)), RecordBounds::maxNameSize);
    EXPECT_LE(JsonText::size(RecordBounds::path(controls)), RecordBounds::maxPathSize);
    const std::string notText(100'000, '\xff');
    EXPECT_LE(JsonText::size(RecordBounds::path(notText)), RecordBounds::maxPathSize);
    EXPECT_TRUE(Utf8::isValid(RecordBounds::path(notText)));
    std::size_t size = 0;
    for (const std::string &argument :
         RecordBounds::arguments(std::vector<std::string>(1000, std::string(1000, '\x01')))) {
        EXPECT_EQ(argument.size(), 1000U) << "an argument is whole, or is not there";
        size += JsonText::size(argument) + 1;
    }
    EXPECT_LE(size, RecordBounds::maxArgumentsSize);
    EXPECT_GT(size, RecordBounds::maxArgumentsSize - 6010);
}

TEST(RecordBounds, LeavesWhatTheSystemMayCallAFileOrAPath)
{
    const std::string name(255, 'n');
    EXPECT_EQ(RecordBounds::name(name), name);
    std::string path;
    while (path.size() < 4096) {
        path += "/\xe9t\xe9"; // Latin-1
    }
    EXPECT_EQ(RecordBounds::path(path), Utf8::sanitized(path));
}

TEST(RecordBounds, CostsNoLessThanInThePayload)
{
    for (const RawPortInfo &record : {RawPortInfo{}, largest()}) {
        EXPECT_GE(RecordBounds::cost(record), encodedSize(record));
    }
}

TEST(RecordBounds, ShortensARecordToAnyRoom)
{
    const RawPortInfo record = largest();
    for (std::size_t room = RecordBounds::minRecordSize; room < RecordBounds::cost(record) + 100;
         room += 37) {
        const RawPortInfo shortened = RecordBounds::shortened(record, room);
        ASSERT_LE(RecordBounds::cost(shortened), std::max(room, RecordBounds::minRecordSize));
        ASSERT_EQ(shortened.pid, record.pid);
        ASSERT_EQ(shortened.port, record.port);
        ASSERT_EQ(shortened.memoryBytes, record.memoryBytes);
        ASSERT_EQ(shortened.processStartedAt, record.processStartedAt);
        ASSERT_FALSE(shortened.processName.empty());
        ASSERT_TRUE(isBeginning(shortened.arguments, record.arguments));
        ASSERT_TRUE(isBeginning(shortened.originArguments, record.originArguments));
    }
    EXPECT_EQ(RecordBounds::shortened(record, RecordBounds::cost(record)), record);
}

TEST(RecordBounds, ShortensArgumentsBeforePathsAndPathsBeforeTheName)
{
    const RawPortInfo record = largest();
    const std::size_t withoutArguments = 2 * RecordBounds::maxPathSize + RecordBounds::costWithName;
    RawPortInfo shortened = RecordBounds::shortened(record, withoutArguments + 1000);
    EXPECT_LT(shortened.arguments.size(), record.arguments.size());
    EXPECT_EQ(shortened.commandPath, record.commandPath);
    EXPECT_EQ(shortened.cwd, record.cwd);
    shortened = RecordBounds::shortened(record, 2 * RecordBounds::costWithName);
    EXPECT_LT(shortened.commandPath.size(), record.commandPath.size());
    EXPECT_LT(shortened.cwd.size(), record.cwd.size());
    EXPECT_EQ(shortened.processName, record.processName);
}

TEST(RecordBounds, SharesAListingEqually)
{
    EXPECT_EQ(RecordBounds::share(1024), RecordBounds::maxListingSize / 1024);
    EXPECT_EQ(RecordBounds::share(10'000'000), RecordBounds::minRecordSize);
    EXPECT_EQ(RecordBounds::share(0), RecordBounds::maxListingSize);
}

} // namespace
} // namespace Tarnwick
