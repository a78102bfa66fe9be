// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/KeyDecoder.h"

#include <gtest/gtest.h>

#include <vector>

namespace Tarnwick {

namespace {

using Code = Key::Code;

std::vector<Key> keys(KeyDecoder &decoder)
{
    std::vector<Key> result;
    while (std::optional<Key> key = decoder.next()) {
        result.push_back(*std::move(key));
    }
    return result;
}

std::vector<Key> keysFrom(std::string_view bytes)
{
    KeyDecoder decoder;
    decoder.add(bytes);
    return keys(decoder);
}

std::vector<Key> only(Code code)
{
    return {{.code = code}};
}

Key character(std::string text)
{
    return {.code = Code::Character, .text = std::move(text)};
}

} // namespace

TEST(KeyDecoder, ReadsCharactersOfUtf8)
{
    EXPECT_EQ(keysFrom("aé漢"), (std::vector{character("a"), character("é"), character("漢")}));
    EXPECT_TRUE(keysFrom("q").front().is('q'));
}

TEST(KeyDecoder, ReadsTheKeysWithControlCharacters)
{
    EXPECT_EQ(keysFrom("\r"), only(Code::Enter));
    EXPECT_EQ(keysFrom("\n"), only(Code::Enter));
    EXPECT_EQ(keysFrom("\t"), only(Code::Tab));
    EXPECT_EQ(keysFrom("\x7f"), only(Code::Backspace));
    EXPECT_EQ(keysFrom("\b"), only(Code::Backspace));
    EXPECT_EQ(keysFrom("\x15"), (std::vector{Key{.code = Code::Control, .text = "U"}}));
}

TEST(KeyDecoder, ReadsTheSequencesOfTerminals)
{
    const std::vector<std::pair<std::string_view, Code>> sequences{
        {"\x1b[A", Code::Up},          {"\x1bOA", Code::Up},       {"\x1b[1;5A", Code::Up},
        {"\x1b[B", Code::Down},        {"\x1b[C", Code::Right},    {"\x1b[D", Code::Left},
        {"\x1b[H", Code::Home},        {"\x1bOH", Code::Home},     {"\x1b[1~", Code::Home},
        {"\x1b[7~", Code::Home},       {"\x1b[F", Code::End},      {"\x1b[4~", Code::End},
        {"\x1b[8~", Code::End},        {"\x1b[5~", Code::PageUp},  {"\x1b[6~", Code::PageDown},
        {"\x1b[6;2~", Code::PageDown}, {"\x1b[3~", Code::Delete},  {"\x1bOM", Code::Enter},
        {"\x1b[15~", Code::Other},     {"\x1b[[A", Code::Help},    {"\x1b[[B", Code::Other},
        {"\x1bOP", Code::Help},        {"\x1b[11~", Code::Help},   {"\x1b[Z", Code::Other},
        {"\x1b[I", Code::Other},       {"\x1b[?1;2c", Code::Other}};
    for (const auto &[bytes, code] : sequences) {
        EXPECT_EQ(keysFrom(bytes), only(code)) << bytes.substr(1);
    }
}

TEST(KeyDecoder, WaitsForTheRestOfAKey)
{
    KeyDecoder decoder;
    for (const std::string_view part : {"\x1b", "[", "1", ";5"}) {
        decoder.add(part);
        EXPECT_EQ(decoder.next(), std::nullopt);
        EXPECT_TRUE(decoder.isIncomplete());
    }
    decoder.add("B\xc3");
    EXPECT_EQ(keys(decoder), only(Code::Down));
    decoder.add("\xa9");
    EXPECT_EQ(keys(decoder), std::vector{character("é")});
    EXPECT_FALSE(decoder.isIncomplete());
}

TEST(KeyDecoder, TakesAnEscapeCharacterAloneForTheKeyWhenNothingFollows)
{
    KeyDecoder decoder;
    decoder.add("\x1b");
    EXPECT_EQ(decoder.next(), std::nullopt);
    decoder.complete();
    EXPECT_EQ(keys(decoder), only(Code::Escape));
    decoder.add("\x1b");
    EXPECT_EQ(decoder.next(), std::nullopt);
}

TEST(KeyDecoder, TakesAnEscapeCharacterBeforeAnotherKeyForTheKey)
{
    EXPECT_EQ(keysFrom("\x1bq"), (std::vector{Key{.code = Code::Escape}, character("q")}));
    EXPECT_EQ(keysFrom("\x1b\x1b[A"),
              (std::vector{Key{.code = Code::Escape}, Key{.code = Code::Up}}));
}

TEST(KeyDecoder, GoesOnAfterWhatIsNoUtf8)
{
    EXPECT_EQ(keysFrom("\xff"
                       "abcd")
                  .back(),
              character("d"));
    EXPECT_EQ(keysFrom("\xc3(x").back(), character("x"));
    KeyDecoder decoder;
    decoder.add("\xe6\xbc");
    decoder.complete();
    EXPECT_EQ(keys(decoder).front(), Key{});
    EXPECT_FALSE(decoder.isIncomplete());
}

TEST(KeyDecoder, ForgetsWhatIsDiscarded)
{
    KeyDecoder decoder;
    decoder.add("yy\x1b[");
    decoder.clear();
    EXPECT_FALSE(decoder.isIncomplete());
    decoder.add("n");
    EXPECT_EQ(keys(decoder), std::vector{character("n")});
}

} // namespace Tarnwick
