// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfoDecoder.h"
#include "tests/Shared/SampleObject.h"
#include "tests/Shared/SampleRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Tarnwick;
using namespace std::string_view_literals;

namespace {

using Decoded = RawPortInfo::Decoded;
using DecodingError = RawPortInfo::DecodingError;
using Records = std::vector<RawPortInfo>;

Decoded errorInPayload(std::string reason)
{
    return DecodingError{std::nullopt, "", std::move(reason)};
}

void expectSyntaxError(std::string_view payload)
{
    const Decoded decoded = RawPortInfo::decode(payload);
    const auto *const error = std::get_if<DecodingError>(&decoded);
    ASSERT_NE(error, nullptr) << payload;
    EXPECT_EQ(error->record, std::nullopt) << payload;
    EXPECT_THAT(error->reason, testing::StartsWith("invalid JSON at byte ")) << payload;
}

} // namespace

TEST(RawPortInfoSyntax, TellsAnErrorOfSyntaxBeforeABadRecord)
{
    expectSyntaxError('[' + objectWith("pid", "null") + ",]");
    expectSyntaxError("[1,2");
    expectSyntaxError("{]");
    expectSyntaxError(R"([{},"\ud800"])");
    expectSyntaxError(R"([{},"\udc00"])");
    expectSyntaxError("[null,\"\xff\"]");
}

TEST(RawPortInfoSyntax, RejectsWhatIsNoJson)
{
    for (const std::string_view text :
         {"",        " ",    "[",        "]",         "[,]",        "[]]",        "[] []",
          "[]x",     "{",    "nul",      "[{]",       "[{\"a\"}]",  "[{\"a\":}]", "[{\"a\":1,}]",
          "[{a:1}]", "['']", "[\"\n\"]", R"(["\x"])", "[\"]",       "[01]",       "[1.]",
          "[.5]",    "[+1]", "[-]",      "[1e]",      "[NaN]",      "[Infinity]", "[0x10]",
          "[TRUE]",  "[]//", "/**/[]",   "\ufeff[]",  R"(["\u12"])"}) {
        expectSyntaxError(text);
    }
}

TEST(RawPortInfoSyntax, TellsWhereTheTextIsNoJson)
{
    EXPECT_EQ(RawPortInfo::decode(""),
              errorInPayload("invalid JSON at byte 0: The document is empty"));
    EXPECT_EQ(
        RawPortInfo::decode("[{} x"),
        errorInPayload("invalid JSON at byte 4: Missing a comma or ']' after an array element"));
    EXPECT_EQ(RawPortInfo::decode("[] []"),
              errorInPayload("invalid JSON at byte 3: The document root must not be followed by "
                             "other values"));
}

TEST(RawPortInfoSyntax, RejectsANulAfterTheArray)
{
    expectSyntaxError("[]\0"sv);
    expectSyntaxError("[]\0[]"sv);
    expectSyntaxError("[] \0\0"sv);
}

TEST(RawPortInfoSyntax, RejectsANulWithinTheText)
{
    expectSyntaxError("\0"sv);
    expectSyntaxError("\0[]"sv);
    expectSyntaxError("[\0]"sv);
    expectSyntaxError("[\"a\0b\"]"sv);
}

TEST(RawPortInfoSyntax, ReadsNoFurtherThanThePayload)
{
    const std::string text = '[' + sampleObject() + "]]]";
    const std::string_view payload = std::string_view(text).substr(0, text.size() - 2);
    EXPECT_EQ(RawPortInfo::decode(payload), Decoded(Records{sampleRecord()}));
    expectSyntaxError(payload.substr(0, payload.size() - 1));
}

TEST(RawPortInfoSyntax, RejectsAStringThatIsNotUtf8)
{
    for (const std::string text :
         {"\x80", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xff", "\xe2\x82", "\xf0"}) {
        expectSyntaxError('[' + objectWith("cwd", '"' + text + '"') + ']');
        expectSyntaxError('[' + objectWith("unknown", '"' + text + '"') + ']');
        expectSyntaxError("[{\"" + text + "\":1}]");
    }
}

TEST(RawPortInfoSyntax, RejectsTheEscapeOfALoneSurrogate)
{
    for (const std::string text :
         {R"(\ud800)", R"(\udc00)", R"(\udfff)", R"(\ud800x)", R"(\ud800\n)", R"(\ud800\ud800)",
          R"(\udc00\ud800)", R"(\ud800\u0041)", R"(ok\udead)"}) {
        expectSyntaxError('[' + objectWith("cwd", '"' + text + '"') + ']');
        expectSyntaxError('[' + objectWith("arguments", "[\"" + text + "\"]") + ']');
        expectSyntaxError('[' + objectWith("unknown", "[[\"" + text + "\"]]") + ']');
        expectSyntaxError("[{\"" + text + "\":1}]");
    }
}

TEST(RawPortInfoSyntax, FollowsUnknownKeysToALimitedDepth)
{
    const auto nested = [](std::size_t depth) {
        const std::string value = std::string(depth, '[') + std::string(depth, ']');
        return RawPortInfo::decode('[' + objectWith("unknown", value) + ']');
    };
    // The listing and the record are two levels.
    EXPECT_EQ(nested(RawPortInfoDecoder::maximumDepth - 2), Decoded(Records{sampleRecord()}));
    const Decoded decoded = nested(RawPortInfoDecoder::maximumDepth - 1);
    EXPECT_THAT(std::get<DecodingError>(decoded).reason,
                testing::EndsWith("nested deeper than 512 levels"));
}

TEST(RawPortInfoSyntax, RejectsAPayloadThatNoBusCarries)
{
    const std::string text = "[]" + std::string(RawPortInfoDecoder::maximumPayloadSize - 2, ' ');
    EXPECT_EQ(RawPortInfo::decode(text), Decoded(Records{}));
    EXPECT_EQ(RawPortInfo::decode(text + ' '), errorInPayload("longer than 134217728 bytes"));
}
