// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfo.h"
#include "tests/Shared/SampleRecord.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

using namespace Tarnwick;
using namespace std::string_literals;

namespace {

using Decoded = RawPortInfo::Decoded;
using DecodingError = RawPortInfo::DecodingError;
using Records = std::vector<RawPortInfo>;

std::size_t hashOf(const RawPortInfo &record)
{
    return std::hash<RawPortInfo>{}(record);
}

std::string encodeOne(const RawPortInfo &record)
{
    return RawPortInfo::encode({&record, 1});
}

/// One change for each field, and two that only move an argument.
const std::vector<std::function<void(RawPortInfo &)>> changes{
    [](RawPortInfo &r) { r.pid = 43; },
    [](RawPortInfo &r) { r.port = 3001; },
    [](RawPortInfo &r) { r.processName = "Node"; },
    [](RawPortInfo &r) { r.commandPath += "/"; },
    [](RawPortInfo &r) { r.cwd.clear(); },
    [](RawPortInfo &r) { r.arguments.emplace_back("-v"); },
    [](RawPortInfo &r) { r.originArguments.clear(); },
    [](RawPortInfo &r) { r.processStartedAt += std::chrono::seconds(1); },
    [](RawPortInfo &r) { r.memoryBytes += 1; },
    [](RawPortInfo &r) { std::swap(r.arguments[0], r.arguments[1]); },
    [](RawPortInfo &r) {
        r.originArguments.insert(r.originArguments.begin(), r.arguments.back());
        r.arguments.pop_back();
    },
};

} // namespace

TEST(RawPortInfo, EqualsItsCopy)
{
    EXPECT_EQ(sampleRecord(), sampleRecord());
    EXPECT_EQ(hashOf(sampleRecord()), hashOf(sampleRecord()));
}

TEST(RawPortInfo, DiffersInEveryField)
{
    for (std::size_t i = 0; i < changes.size(); ++i) {
        RawPortInfo changed = sampleRecord();
        changes[i](changed);
        EXPECT_NE(changed, sampleRecord()) << i;
        EXPECT_NE(hashOf(changed), hashOf(sampleRecord())) << i;
    }
}

TEST(RawPortInfo, EncodesNoRecordAsAnEmptyArray)
{
    EXPECT_EQ(RawPortInfo::encode({}), "[]");
}

TEST(RawPortInfo, EncodesTheNineKeysInOrder)
{
    EXPECT_EQ(encodeOne(sampleRecord()),
              R"([{"pid":42,"port":3000,"processName":"node",)"
              R"("commandPath":"/usr/local/bin/node","cwd":"/home/ann/site",)"
              R"("arguments":["node","server.js"],"originArguments":["npm","run","dev"],)"
              R"("processStartedAt":"2024-05-01T09:30:00Z","memoryBytes":46500000}])");
}

TEST(RawPortInfo, EncodesTheLargestNumbers)
{
    RawPortInfo record;
    record.pid = INT64_MIN;
    record.port = INT64_MAX;
    record.memoryBytes = UINT64_MAX;
    EXPECT_EQ(encodeOne(record),
              R"([{"pid":-9223372036854775808,"port":9223372036854775807,"processName":"",)"
              R"("commandPath":"","cwd":"","arguments":[],"originArguments":[],)"
              R"("processStartedAt":"1970-01-01T00:00:00Z","memoryBytes":18446744073709551615}])");
}

TEST(RawPortInfo, EncodesStartTimesInWholeSeconds)
{
    RawPortInfo record = sampleRecord();
    record.processStartedAt += std::chrono::milliseconds(999);
    EXPECT_EQ(encodeOne(record), encodeOne(sampleRecord()));
}

TEST(RawPortInfo, DecodesWhatItHasEncoded)
{
    RawPortInfo strange = sampleRecord();
    strange.processName = "quote\" backslash\\ \n\t\x01\x7f NUL\0 end"s;
    strange.cwd = "\u00e9\u20ac\U0001f600/\u2028";
    strange.arguments = {"", "</script>", std::string(100'000, 'x')};
    strange.pid = INT64_MIN;
    strange.port = INT64_MAX;
    strange.memoryBytes = UINT64_MAX;
    const Records records{sampleRecord(), strange, RawPortInfo(), sampleRecord()};

    EXPECT_EQ(RawPortInfo::decode(RawPortInfo::encode(records)), Decoded(records));
}

TEST(RawPortInfo, DecodesWhatItHasEncodedAtTheEndsOfTheCalendar)
{
    using namespace std::chrono;
    Records records(2, sampleRecord());
    records[0].processStartedAt = sys_days{0y / January / 1};
    records[1].processStartedAt = sys_days{9999y / December / 31} + 23h + 59min + 59s;
    EXPECT_EQ(RawPortInfo::decode(RawPortInfo::encode(records)), Decoded(records));
}

TEST(RawPortInfoDeathTest, StopsTheProgramForAStringThatIsNotUtf8)
{
    for (const std::string_view text : {"\xff", "cut \xf0", "cut \xe2\x82", "\xed\xa0\x80"}) {
        RawPortInfo record = sampleRecord();
        record.arguments = {std::string(text)};
        EXPECT_DEATH((void)encodeOne(record), "fatal: a string of a listing must be UTF-8");
    }
}

TEST(RawPortInfoDeathTest, StopsTheProgramForADateThatCannotBeWritten)
{
    RawPortInfo record = sampleRecord();
    record.processStartedAt = Timestamp::max();
    EXPECT_DEATH((void)encodeOne(record), "fatal: a date must lie in the years 0000 to 9999");
}

TEST(DecodingError, TellsTheRecordAndTheKey)
{
    EXPECT_EQ((DecodingError{3, "memoryBytes", "-1 is out of range"}.description()),
              R"(record 3, key "memoryBytes": -1 is out of range)");
}

TEST(DecodingError, TellsTheRecordAlone)
{
    EXPECT_EQ((DecodingError{0, "", "expected an object, found null"}.description()),
              "record 0: expected an object, found null");
}

TEST(DecodingError, TellsAReasonThatConcernsNoRecord)
{
    EXPECT_EQ((DecodingError{std::nullopt, "", "no JSON"}.description()), "no JSON");
}
