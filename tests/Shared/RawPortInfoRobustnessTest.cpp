// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfo.h"
#include "Shared/Utf8.h"
#include "tests/Shared/SampleRecord.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

using namespace Tarnwick;

namespace {

using Decoded = RawPortInfo::Decoded;
using DecodingError = RawPortInfo::DecodingError;
using Records = std::vector<RawPortInfo>;

bool isError(const Decoded &decoded)
{
    return std::holds_alternative<DecodingError>(decoded);
}

std::string samplePayload()
{
    RawPortInfo other = sampleRecord();
    other.processName = "caf\u00e9 \U0001f600 \"quoted\"\n";
    other.originArguments.clear();
    return RawPortInfo::encode(Records{sampleRecord(), other});
}

/// Changes a text at random, in the same way for the same seed.
class Mutator
{
public:
    std::string mutated(std::string text)
    {
        const std::size_t changes = 1 + below(4);
        for (std::size_t i = 0; i < changes && !text.empty(); ++i) {
            change(text);
        }
        return text;
    }

private:
    /// Pieces of JSON, and bytes that are none.
    static constexpr std::array<std::string_view, 16> pieces{
        "[",    "]",     "{",   "}",       ",",         ":",    "\"",       "\\",
        "null", "-1e99", "1.5", "\\udc00", "\"pid\":1", "\xff", "\xf0\x9f", "\n"};

    std::size_t below(std::size_t limit)
    {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
    }

    void change(std::string &text)
    {
        const std::size_t place = below(text.size());
        switch (below(5)) {
        case 0:
            text[place] = static_cast<char>(below(256));
            break;
        case 1:
            text.erase(place, 1 + below(8));
            break;
        case 2:
            text.insert(place, pieces[below(pieces.size())]);
            break;
        case 3:
            text.insert(place, text.substr(below(text.size()), below(40)));
            break;
        default:
            text[place] =
                static_cast<char>(static_cast<unsigned char>(text[place]) ^ (1U << below(8)));
            break;
        }
    }

    std::mt19937 m_random{20'240'501}; // NOLINT(bugprone-random-generator-seed)
};

void expectUtf8(const RawPortInfo &record)
{
    EXPECT_TRUE(Utf8::isValid(record.processName));
    EXPECT_TRUE(Utf8::isValid(record.commandPath));
    EXPECT_TRUE(Utf8::isValid(record.cwd));
    for (const std::vector<std::string> &texts : {record.arguments, record.originArguments}) {
        for (const std::string &text : texts) {
            EXPECT_TRUE(Utf8::isValid(text));
        }
    }
}

} // namespace

TEST(RawPortInfoRobustness, TakesNoTruncatedPayload)
{
    const std::string payload = samplePayload();
    ASSERT_FALSE(isError(RawPortInfo::decode(payload)));
    for (std::size_t length = 0; length < payload.size(); ++length) {
        // A buffer of exactly that length, so that the sanitizers see a read beyond it.
        const std::vector<char> cut(payload.begin(),
                                    payload.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_TRUE(isError(RawPortInfo::decode({cut.data(), cut.size()}))) << length;
    }
}

TEST(RawPortInfoRobustness, SurvivesThousandsOfMutations)
{
    const std::string payload = samplePayload();
    Mutator mutator;
    std::size_t decodedCount = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::string text = mutator.mutated(payload);
        const std::vector<char> exact(text.begin(), text.end());
        const Decoded decoded = RawPortInfo::decode({exact.data(), exact.size()});
        if (isError(decoded)) {
            EXPECT_FALSE(std::get<DecodingError>(decoded).description().empty());
            continue;
        }
        // What is taken holds to the rules, and can be sent on and taken again.
        ++decodedCount;
        const auto &records = std::get<Records>(decoded);
        for (const RawPortInfo &record : records) {
            expectUtf8(record);
        }
        EXPECT_EQ(RawPortInfo::decode(RawPortInfo::encode(records)), decoded);
    }
    EXPECT_GT(decodedCount, 0U) << "the mutations are too coarse to test anything";
}

TEST(RawPortInfoRobustness, RejectsAMebibyteOfOpenArrays)
{
    EXPECT_TRUE(isError(RawPortInfo::decode(std::string(1'048'576, '['))));
}

TEST(RawPortInfoRobustness, RejectsAMebibyteOfOpenObjects)
{
    std::string text = "[";
    while (text.size() < 1'048'576) {
        text += "{\"a\":";
    }
    EXPECT_TRUE(isError(RawPortInfo::decode(text)));
}

TEST(RawPortInfoRobustness, RejectsAnEndlessExponentAndAnEndlessFraction)
{
    const std::string digits(1'048'576, '9');
    std::string tiny = "0." + std::string(1'048'576, '0');
    tiny += "1e" + digits;
    for (const std::string &number : {"1e" + digits, "1e-" + digits, "1." + digits, digits, tiny}) {
        std::string text = "[{\"pid\":";
        text += number;
        text += "}]";
        EXPECT_TRUE(isError(RawPortInfo::decode(text)));
    }
}

TEST(RawPortInfoRobustness, DecodesTenThousandRecords)
{
    Records records(10'000, sampleRecord());
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i].port = static_cast<std::int64_t>(i);
    }
    EXPECT_EQ(RawPortInfo::decode(RawPortInfo::encode(records)), Decoded(records));
}
