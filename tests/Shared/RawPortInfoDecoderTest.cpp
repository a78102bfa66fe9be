// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfoDecoder.h"
#include "tests/Shared/SampleObject.h"
#include "tests/Shared/SampleRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using namespace Tarnwick;
using namespace std::string_literals;

namespace {

using Decoded = RawPortInfo::Decoded;
using DecodingError = RawPortInfo::DecodingError;
using Records = std::vector<RawPortInfo>;

constexpr std::array<std::string_view, 9> keys{
    "pid",        "port",      "processName",     "commandPath",
    "cwd",        "arguments", "originArguments", "processStartedAt",
    "memoryBytes"};

Decoded decodeOne(const std::string &object)
{
    return RawPortInfo::decode('[' + object + ']');
}

Decoded errorIn(std::size_t record, std::string_view key, std::string reason)
{
    return DecodingError{record, std::string(key), std::move(reason)};
}

Decoded errorInPayload(std::string reason)
{
    return DecodingError{std::nullopt, "", std::move(reason)};
}

RawPortInfo only(const Decoded &decoded)
{
    const auto *const records = std::get_if<Records>(&decoded);
    if (records == nullptr) {
        ADD_FAILURE() << std::get<DecodingError>(decoded).description();
        return {};
    }
    EXPECT_EQ(records->size(), 1U);
    return records->empty() ? RawPortInfo() : records->front();
}

} // namespace

TEST(RawPortInfoDecoder, DecodesAnEmptyArray)
{
    EXPECT_EQ(RawPortInfo::decode("[]"), Decoded(Records{}));
    EXPECT_EQ(RawPortInfo::decode(" \t\r\n[ ] \n"), Decoded(Records{}));
}

TEST(RawPortInfoDecoder, DecodesARecord)
{
    EXPECT_EQ(only(decodeOne(sampleObject())), sampleRecord());
}

TEST(RawPortInfoDecoder, DecodesARecordWithoutOriginArguments)
{
    EXPECT_TRUE(only(decodeOne(objectWith("originArguments", "[]"))).originArguments.empty());
}

TEST(RawPortInfoDecoder, KeepsTwoRecordsOfTheSameProcessAndPort)
{
    const std::string text = '[' + sampleObject() + ',' + sampleObject() + ']';
    EXPECT_EQ(RawPortInfo::decode(text), Decoded(Records(2, sampleRecord())));
}

TEST(RawPortInfoDecoder, KeepsTheOrderOfTheRecords)
{
    const std::string text = '[' + objectWith("port", "2") + ',' + objectWith("port", "1") + ']';
    const Decoded decoded = RawPortInfo::decode(text);
    const auto &records = std::get<Records>(decoded);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].port, 2);
    EXPECT_EQ(records[1].port, 1);
}

TEST(RawPortInfoDecoder, CarriesNothingFromOneRecordToTheNext)
{
    const std::string text = '[' + sampleObject() + ',' + objectWith("arguments", R"(["x"])") + ']';
    RawPortInfo second = sampleRecord();
    second.arguments = {"x"};
    EXPECT_EQ(RawPortInfo::decode(text), Decoded(Records{sampleRecord(), second}));

    EXPECT_EQ(RawPortInfo::decode('[' + sampleObject() + ",{}]"), errorIn(1, "pid", "missing"));
}

TEST(RawPortInfoDecoder, TakesTheKeysInAnyOrder)
{
    const Members members = sampleMembers();
    std::array<std::string_view, keys.size()> reversed = keys;
    std::ranges::reverse(reversed);
    std::string text;
    for (const std::string_view key : reversed) {
        text += text.empty() ? "{" : ",";
        text += '"' + std::string(key) + "\":" + members.at(key);
    }
    EXPECT_EQ(only(decodeOne(text + '}')), sampleRecord());
}

TEST(RawPortInfoDecoder, TakesAKeyThatIsWrittenWithEscapes)
{
    Members members = sampleMembers();
    members.erase("pid");
    members[R"(\u0070i\u0064)"] = "42";
    EXPECT_EQ(only(decodeOne(objectOf(members))), sampleRecord());
}

TEST(RawPortInfoDecoder, DecodesTheEscapesOfAString)
{
    const RawPortInfo record =
        only(decodeOne(objectWith("cwd", R"("\"\\\/\b\f\n\r\t\u0041\u0000\u20ac\ud83d\ude00")")));
    EXPECT_EQ(record.cwd, "\"\\/\b\f\n\r\tA\0\u20ac\U0001f600"s);
}

TEST(RawPortInfoDecoder, NamesEveryKeyThatIsMissing)
{
    for (const std::string_view key : keys) {
        EXPECT_EQ(decodeOne(objectWithout(key)), errorIn(0, key, "missing"));
    }
}

TEST(RawPortInfoDecoder, TellsKeysApartByCaseAndLength)
{
    for (const std::string key : {"PID", "Pid", "pi", "pids", "pid ", ""}) {
        Members members = sampleMembers();
        members.erase("pid");
        members[key] = "42";
        EXPECT_EQ(decodeOne(objectOf(members)), errorIn(0, "pid", "missing")) << key;
    }
}

TEST(RawPortInfoDecoder, RejectsANullForEveryKey)
{
    for (const std::string_view key : keys) {
        const Decoded decoded = decodeOne(objectWith(key, "null"));
        const auto &error = std::get<DecodingError>(decoded);
        EXPECT_EQ(error.record, 0U);
        EXPECT_EQ(error.key, key);
        EXPECT_THAT(error.reason, testing::EndsWith("found null"));
    }
}

TEST(RawPortInfoDecoder, RejectsAWrongTypeForEveryNumber)
{
    for (const std::string_view key : {"pid", "port", "memoryBytes"}) {
        const auto reason = [key](const std::string &value) {
            return std::get<DecodingError>(decodeOne(objectWith(key, value))).reason;
        };
        EXPECT_EQ(reason(R"("42")"), "expected a number, found a string");
        EXPECT_EQ(reason("true"), "expected a number, found a boolean");
        EXPECT_EQ(reason("false"), "expected a number, found a boolean");
        EXPECT_EQ(reason("[42]"), "expected a number, found an array");
        EXPECT_EQ(reason(R"({"pid":42})"), "expected a number, found an object");
    }
}

TEST(RawPortInfoDecoder, RejectsAWrongTypeForEveryString)
{
    for (const std::string_view key : {"processName", "commandPath", "cwd", "processStartedAt"}) {
        EXPECT_EQ(decodeOne(objectWith(key, "0")),
                  errorIn(0, key, "expected a string, found a number"));
        EXPECT_EQ(decodeOne(objectWith(key, R"(["text"])")),
                  errorIn(0, key, "expected a string, found an array"));
    }
}

TEST(RawPortInfoDecoder, RejectsAWrongTypeForEveryArray)
{
    for (const std::string_view key : {"arguments", "originArguments"}) {
        EXPECT_EQ(decodeOne(objectWith(key, R"("node")")),
                  errorIn(0, key, "expected an array, found a string"));
        EXPECT_EQ(decodeOne(objectWith(key, R"({"0":"node"})")),
                  errorIn(0, key, "expected an array, found an object"));
    }
}

TEST(RawPortInfoDecoder, RejectsAWrongTypeInAnArray)
{
    const auto reason = [](const std::string &value) {
        return std::get<DecodingError>(decodeOne(objectWith("arguments", value))).reason;
    };
    EXPECT_EQ(reason("[1]"), "element 0: expected a string, found a number");
    EXPECT_EQ(reason(R"(["a",null,1])"), "element 1: expected a string, found null");
    EXPECT_EQ(reason(R"(["a","b",["c"]])"), "element 2: expected a string, found an array");
    EXPECT_EQ(reason(R"([{"a":"b"}])"), "element 0: expected a string, found an object");
}

TEST(RawPortInfoDecoder, TakesTheWholeRangeOfEveryNumber)
{
    for (const std::string_view key : {"pid", "port"}) {
        EXPECT_EQ(decodeOne(objectWith(key, "9223372036854775807")).index(), 0U);
        EXPECT_EQ(decodeOne(objectWith(key, "-9223372036854775808")).index(), 0U);
    }
    EXPECT_EQ(only(decodeOne(objectWith("pid", "-9223372036854775808"))).pid, INT64_MIN);
    EXPECT_EQ(only(decodeOne(objectWith("port", "9223372036854775807"))).port, INT64_MAX);
    EXPECT_EQ(only(decodeOne(objectWith("memoryBytes", "18446744073709551615"))).memoryBytes,
              UINT64_MAX);
    EXPECT_EQ(only(decodeOne(objectWith("memoryBytes", "-0"))).memoryBytes, 0U);
    EXPECT_EQ(only(decodeOne(objectWith("pid", "-0"))).pid, 0);
}

TEST(RawPortInfoDecoder, RejectsANumberOutOfRange)
{
    using Case = std::pair<std::string_view, std::string>;
    const std::array<Case, 8> cases{{
        {"memoryBytes", "-1"},
        {"memoryBytes", "18446744073709551616"},
        {"memoryBytes", "99999999999999999999"},
        {"pid", "9223372036854775808"},
        {"pid", "-9223372036854775809"},
        {"pid", "99999999999999999999"},
        {"port", "9223372036854775808"},
        {"port", "-99999999999999999999"},
    }};
    for (const auto &[key, number] : cases) {
        EXPECT_EQ(decodeOne(objectWith(key, number)), errorIn(0, key, number + " is out of range"));
    }
}

TEST(RawPortInfoDecoder, LosesEveryRecordToOneThatIsBad)
{
    const std::string text = '[' + sampleObject() + ',' + objectWith("memoryBytes", "-1") + ']';
    const Decoded decoded = RawPortInfo::decode(text);
    EXPECT_EQ(decoded, errorIn(1, "memoryBytes", "-1 is out of range"));
    EXPECT_EQ(std::get<DecodingError>(decoded).description(),
              R"(record 1, key "memoryBytes": -1 is out of range)");
}

TEST(RawPortInfoDecoder, RejectsANumberThatIsNoInteger)
{
    for (const std::string_view key : {"pid", "port", "memoryBytes"}) {
        for (const std::string number :
             {"1.5", "1.0", "1e3", "1E3", "1e+3", "1e-3", "-1.5", "0.0", "-0.0"}) {
            EXPECT_EQ(decodeOne(objectWith(key, number)),
                      errorIn(0, key, number + " is not an integer"));
        }
    }
}

TEST(RawPortInfoDecoder, ShortensALongNumberInItsReason)
{
    const std::string number(300, '7');
    EXPECT_EQ(decodeOne(objectWith("pid", number)),
              errorIn(0, "pid", number.substr(0, 40) + "... is out of range"));
}

TEST(RawPortInfoDecoder, TakesADateWithAnOffset)
{
    EXPECT_EQ(only(decodeOne(objectWith("processStartedAt", R"("2024-05-01T11:30:00+02:00")"))),
              sampleRecord());
}

TEST(RawPortInfoDecoder, RejectsADateInAnotherForm)
{
    for (const std::string date : {"2024-05-01T09:30:00.123Z", "2024-05-01T09:30:00", "", "now",
                                   "2024-02-30T09:30:00Z", "1714555800"}) {
        EXPECT_EQ(decodeOne(objectWith("processStartedAt", '"' + date + '"')),
                  errorIn(0, "processStartedAt",
                          "not an ISO 8601 date and time to the second with its zone"));
    }
}

TEST(RawPortInfoDecoder, RejectsAKnownKeyThatAppearsTwice)
{
    for (const auto &[key, value] : sampleMembers()) {
        std::string text = sampleObject();
        text.insert(1, '"' + std::string(key) + "\":" + value + ',');
        EXPECT_EQ(decodeOne(text), errorIn(0, key, "appears twice"));
    }
}

TEST(RawPortInfoDecoder, IgnoresUnknownKeys)
{
    Members members = sampleMembers();
    members["null"] = "null";
    members["boolean"] = "true";
    members["number"] = "1.5e3";
    members["string"] = R"("text")";
    members["array"] = R"([1,[2,{"pid":null}],"three"])";
    members["object"] = R"({"pid":"x","port":[],"nested":{"memoryBytes":-1}})";
    members["zzz"] = R"([[[[{"pid":{"pid":{}}}]]]])";
    EXPECT_EQ(only(decodeOne(objectOf(members))), sampleRecord());
}

TEST(RawPortInfoDecoder, IgnoresAnUnknownKeyThatAppearsTwice)
{
    std::string text = sampleObject();
    text.insert(1, R"("x":1,"x":{"x":2},)");
    EXPECT_EQ(only(decodeOne(text)), sampleRecord());
}

TEST(RawPortInfoDecoder, TakesNoKeyFromAnObjectWithinTheRecord)
{
    EXPECT_EQ(decodeOne(R"({"inner":)" + sampleObject() + '}'), errorIn(0, "pid", "missing"));
    EXPECT_EQ(decodeOne(R"({"inner":[)" + sampleObject() + "]}"), errorIn(0, "pid", "missing"));
}

TEST(RawPortInfoDecoder, RejectsAnElementThatIsNoObject)
{
    using Case = std::pair<std::string, std::string>;
    const std::array<Case, 6> cases{{
        {"null", "expected an object, found null"},
        {"true", "expected an object, found a boolean"},
        {"1", "expected an object, found a number"},
        {"\"text\"", "expected an object, found a string"},
        {"[]", "expected an object, found an array"},
        {'[' + sampleObject() + ']', "expected an object, found an array"},
    }};
    for (const auto &[element, reason] : cases) {
        EXPECT_EQ(RawPortInfo::decode('[' + sampleObject() + ',' + element + ']'),
                  errorIn(1, "", reason));
    }
}

TEST(RawPortInfoDecoder, RejectsATopLevelThatIsNoArray)
{
    EXPECT_EQ(RawPortInfo::decode("null"), errorInPayload("expected an array, found null"));
    EXPECT_EQ(RawPortInfo::decode("true"), errorInPayload("expected an array, found a boolean"));
    EXPECT_EQ(RawPortInfo::decode("1"), errorInPayload("expected an array, found a number"));
    EXPECT_EQ(RawPortInfo::decode("\"\""), errorInPayload("expected an array, found a string"));
    EXPECT_EQ(RawPortInfo::decode("{}"), errorInPayload("expected an array, found an object"));
    EXPECT_EQ(RawPortInfo::decode(sampleObject()),
              errorInPayload("expected an array, found an object"));
    EXPECT_EQ(RawPortInfo::decode(R"({"ports":[)" + sampleObject() + "]}"),
              errorInPayload("expected an array, found an object"));
}

TEST(RawPortInfoDecoder, TellsTheFirstBadRecord)
{
    const std::string text = '[' + sampleObject() + ',' + objectWith("cwd", "1") + ',' +
                             objectWith("pid", "null") + ",7]";
    EXPECT_EQ(RawPortInfo::decode(text), errorIn(1, "cwd", "expected a string, found a number"));
}

TEST(RawPortInfoDecoder, TellsTheFirstBadKeyInTheOrderOfTheWireFormat)
{
    EXPECT_EQ(decodeOne(R"({"memoryBytes":-1,"cwd":2,"port":null,"pid":1})"),
              errorIn(0, "port", "expected a number, found null"));
    EXPECT_EQ(decodeOne(R"({"memoryBytes":-1,"port":1,"port":1})"), errorIn(0, "pid", "missing"));
    EXPECT_EQ(decodeOne("{}"), errorIn(0, "pid", "missing"));
}
