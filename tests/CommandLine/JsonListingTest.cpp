// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonListing.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::vector<RawPortInfo> decoded(const std::string &json)
{
    const RawPortInfo::Decoded result = RawPortInfo::decode(json);
    const auto *records = std::get_if<std::vector<RawPortInfo>>(&result);
    EXPECT_NE(records, nullptr) << json;
    return records != nullptr ? *records : std::vector<RawPortInfo>{};
}

std::string array(std::span<const Listener> listeners)
{
    WrittenText output;
    EXPECT_FALSE(JsonListing::write(listeners, output));
    return output.written;
}

} // namespace

TEST(JsonListing, IsAnEmptyArrayWhenNothingListens)
{
    EXPECT_EQ(array({}), "[]\n");
}

TEST(JsonListing, WritesTheNineMembersThenWhatElseIsKnown)
{
    ListenerDetails details = at("127.0.0.1");
    details.user = "ada";
    details.userId = 1000;
    EXPECT_EQ(array(listenersFrom({record(3000, 4711, "node")}, {}, {details})),
              "[\n"
              R"({"pid":4711,"port":3000,"processName":"node",)"
              R"("commandPath":"/home/ada/.nvm/versions/node/v20/bin/node",)"
              R"("cwd":"/home/ada/shop","arguments":["node","/home/ada/shop/server.js"],)"
              R"("originArguments":[],"processStartedAt":"1970-02-11T15:59:00Z",)"
              R"("memoryBytes":48234496,"tier":"dev","description":"Node.js",)"
              R"("address":"127.0.0.1","exposed":false,"user":"ada","userId":1000})"
              "\n]\n");
}

TEST(JsonListing, WritesEachDetailThatIsKnown)
{
    ListenerDetails details = onlyIPv6(at("::"));
    details.interface = "eth0";
    details.unit = "shop.service";
    details.isUserUnit = true;
    details.socketUnit = "shop.socket";
    details.container = Container{.id = "3f2a", .name = "web", .runtime = "podman"};
    details.forwarding = Forwarding{.forwarder = "docker-proxy",
                                    .pid = 9,
                                    .port = 5432,
                                    .processName = "postgres",
                                    .command = "postgres -D x",
                                    .container = {.id = "77aa"}};
    EXPECT_THAT(array(listenersFrom({record(3000, 4711, "node")}, {}, {details})),
                HasSubstr(R"("address":"::","v6Only":true,"exposed":true,"interface":"eth0",)"
                          R"("user":"","userId":0,"unit":"shop.service","unitManager":"user",)"
                          R"("socketUnit":"shop.socket",)"
                          R"("container":{"id":"3f2a","name":"web","runtime":"podman"},)"
                          R"("forwarding":{"forwarder":"docker-proxy","pid":9,"port":5432,)"
                          R"("processName":"postgres","command":"postgres -D x",)"
                          R"("container":{"id":"77aa"}}})"));
}

TEST(JsonListing, WritesTheSocketsOfOneOwnerEachWithItsOwn)
{
    const RawPortInfo common = record(1, 4711, "node");
    JsonOwner owner(common, PortTier::Dev, "Node.js", {}, nullptr);
    ListenerDetails first = at("127.0.0.1");
    first.user = "ada";
    ListenerDetails second = at("::1");
    second.user = "bob";
    std::string json;
    for (const auto &[port, details] :
         {std::pair(80, first), std::pair(8080, second), std::pair(65'535, first)}) {
        json.clear();
        owner.append(json, port, details, {});
        std::vector<Listener> expected = listenersFrom({record(port, 4711, "node")}, {}, {details});
        EXPECT_EQ("[\n" + json + "\n]\n", array(expected));
    }
}

TEST(JsonListing, WritesOneRecordOnEachLine)
{
    const std::string json =
        array(listenersFrom({record(1, 1, "a\nb"), record(2, 2, "c"), record(3, 3, "d")}));
    EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 5);
    EXPECT_THAT(json, HasSubstr("},\n{\"pid\":2"));
}

TEST(JsonListing, GivesBackWhatWasReportedWhateverItHolds)
{
    std::vector<RawPortInfo> records{record(80, 1, "né\x7f日本\U0001F600 \"q\" \\ /")};
    records.front().arguments = {"\x1b[31m", "\u009B31m", "a\u202Eb",          "\U000E0041",
                                 "\uFE0F",   "",          std::string("\0", 1)};
    EXPECT_EQ(decoded(array(listenersFrom(records))), records);
}

TEST(JsonListing, SendsNothingToATerminalThatDoesNotPrint)
{
    std::vector<RawPortInfo> records{record(80, 1, "\x1b]0;x\x07\x7f\u009B\u202E\U000E0041")};
    const std::string json = array(listenersFrom(records));
    EXPECT_THAT(json,
                HasSubstr(R"("processName":"\u001B]0;x\u0007\u007f\u009b\u202e\udb40\udc41")"));
}

TEST(JsonListing, LeavesPrintingTextAsItIs)
{
    EXPECT_THAT(array(listenersFrom({record(80, 1, "日本 é")})),
                HasSubstr(R"("processName":"日本 é")"));
}

TEST(JsonListing, IsNeverInMemoryAsAWhole)
{
    class Steps : public WrittenText
    {
    public:
        [[nodiscard]] std::error_code write(std::string_view text) override
        {
            longest = std::max(longest, text.size());
            return WrittenText::write(text);
        }
        std::size_t longest = 0;
    } output;
    RawPortInfo large = record(80, 1, "a");
    large.arguments.assign(50, std::string(100, 'x'));
    const std::vector<RawPortInfo> records(200, large);
    EXPECT_FALSE(JsonListing::write(listenersFrom(records), output));
    EXPECT_EQ(decoded(output.written), records);
    EXPECT_GT(output.written.size(), 1'000'000U);
    EXPECT_LT(output.longest, 100'000U);
}

TEST(JsonListing, EndsWithTheFirstStepThatFails)
{
    WrittenText output;
    output.error = std::make_error_code(std::errc::no_space_on_device);
    EXPECT_EQ(JsonListing::write(listenersFrom({record(80, 1, "a")}), output), output.error);
    EXPECT_EQ(JsonListing::write({}, output), output.error);
}

TEST(JsonListing, BeginsALineOfAWatchWithTheChange)
{
    const Listener listener = listenersFrom({record(80, 1, "a")}).front();
    const std::string line =
        JsonListing::changeLine(Timestamp(std::chrono::milliseconds(1)), "opened", listener);
    EXPECT_THAT(
        line,
        StartsWith(R"({"time":"1970-01-01T00:00:00.001Z","change":"opened","pid":1,"port":80,)"));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
    EXPECT_EQ(line.back(), '\n');
}

} // namespace Tarnwick
