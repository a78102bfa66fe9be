// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchScreen.h"

#include "CommandLine/TerminalText.h"
#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace Tarnwick {

namespace {

using Code = Key::Code;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct WatchScreenTest : testing::Test
{
    TestConsole test;
    NotedEnds ender;
    WatchScreen screen{test.console, ender, "Nothing is listening."};

    WatchScreenTest()
    {
        test.console.environment.noColor = "1";
        test.output.shape = {.isTerminal = true, .columns = 60, .rows = 10};
    }

    static std::vector<Listener> listeners(std::int64_t count)
    {
        std::vector<RawPortInfo> records;
        for (std::int64_t number = 1; number <= count; ++number) {
            records.push_back(record(number, number, "node"));
        }
        return listenersFrom(std::move(records));
    }

    /// Presses keys and draws what they lead to; gives what the last one led to.
    WatchView::KeyResult press(std::initializer_list<Code> codes)
    {
        auto result = WatchView::KeyResult::Done;
        for (const Code code : codes) {
            result = screen.press({.code = code});
        }
        EXPECT_FALSE(screen.redraw());
        return result;
    }

    WatchView::KeyResult type(std::string_view characters)
    {
        auto result = WatchView::KeyResult::Done;
        for (const char character : characters) {
            result = screen.press({.code = Code::Character, .text = {character}});
        }
        EXPECT_FALSE(screen.redraw());
        return result;
    }

    /// The row that is shown as selected, without the blanks at its end.
    std::string selected()
    {
        const std::string &text = test.output.written;
        const std::size_t begin = text.rfind("\x1b[7m") + 4;
        const std::string row = text.substr(begin, text.find("\x1b[0m", begin) - begin);
        EXPECT_EQ(TerminalText::width(row), test.output.shape.columns);
        return row.substr(0, row.find_last_not_of(' ') + 1);
    }

    /// The lines of the frame that was drawn last, without control sequences.
    std::vector<std::string> drawn()
    {
        const std::size_t begin = test.output.written.rfind("\x1b[H") + 3;
        std::string frame = test.output.written.substr(begin);
        for (const std::string_view sequence : {"\r\n\x1b[J", "\x1b[K", "\x1b[7m", "\x1b[0m"}) {
            for (std::size_t at = 0; (at = frame.find(sequence)) != std::string::npos;) {
                frame.erase(at, sequence.size());
            }
        }
        std::vector<std::string> lines;
        std::size_t start = 0;
        for (std::size_t end = 0; (end = frame.find("\r\n", start)) != std::string::npos;
             start = end + 2) {
            lines.push_back(frame.substr(start, end - start));
        }
        lines.push_back(frame.substr(start));
        return lines;
    }
};

} // namespace

TEST_F(WatchScreenTest, DrawsFromTheTopAndClearsTheRest)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(test.output.written, StartsWith("\x1b[H\x1b[KPORT"));
    EXPECT_THAT(test.output.written, EndsWith("?: help\r\n\x1b[J"));
    EXPECT_THAT(test.output.written, Not(HasSubstr("\x1b[2J")));
}

TEST_F(WatchScreenTest, ShowsTheTableAndTheCount)
{
    EXPECT_FALSE(screen.show(listeners(2)));
    const auto lines = drawn();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[1], HasSubstr("node ~/shop/server.js"));
    EXPECT_EQ(lines[3], "2 listeners: 0 system, 0 app, 2 dev, 0 unknown  ?: help");
}

TEST_F(WatchScreenTest, ShowsAllThatJustFitsWithoutScrolling)
{
    EXPECT_FALSE(screen.show(listeners(8)));
    EXPECT_EQ(drawn().size(), 10U);
    EXPECT_THAT(drawn().back(), StartsWith("8 listeners"));
}

TEST_F(WatchScreenTest, SaysWhichOfTheRowsAreVisible)
{
    EXPECT_FALSE(screen.show(listeners(9)));
    ASSERT_EQ(drawn().size(), 10U);
    EXPECT_THAT(drawn().back(), StartsWith("1-8 of 9 listeners"));
    press({Code::End});
    EXPECT_THAT(drawn().back(), StartsWith("2-9 of 9 listeners"));
}

TEST_F(WatchScreenTest, NeverExceedsTheScreen)
{
    for (std::size_t rows = 1; rows < 6; ++rows) {
        for (const std::size_t columns : {1U, 7U, 33U}) {
            test.output.shape = {.isTerminal = true, .columns = columns, .rows = rows};
            EXPECT_FALSE(screen.show(listeners(20)));
            const auto lines = drawn();
            EXPECT_LE(lines.size(), rows);
            for (const std::string &line : lines) {
                EXPECT_LE(TerminalText::width(line), columns);
            }
        }
    }
}

TEST_F(WatchScreenTest, NeverExceedsTheScreenWithOtherTexts)
{
    EXPECT_FALSE(screen.show(listeners(20)));
    EXPECT_FALSE(screen.show(listeners(5)));
    for (const std::string_view keys : {"\r", "h", "?", "/", "x"}) {
        WatchScreen other(test.console, ender, "");
        EXPECT_FALSE(other.show(listeners(3)));
        static_cast<void>(
            other.press(keys == "\r" ? Key{.code = Code::Enter}
                                     : Key{.code = Code::Character, .text = std::string(keys)}));
        for (std::size_t rows = 1; rows < 6; ++rows) {
            for (const std::size_t columns : {1U, 7U, 20U}) {
                test.output.shape = {.isTerminal = true, .columns = columns, .rows = rows};
                EXPECT_FALSE(other.redraw());
                EXPECT_LE(drawn().size(), rows) << keys;
                for (const std::string &line : drawn()) {
                    EXPECT_LE(TerminalText::width(line), std::max<std::size_t>(columns, 2));
                }
            }
        }
    }
}

TEST_F(WatchScreenTest, MovesTheSelection)
{
    EXPECT_FALSE(screen.show(listeners(30)));
    EXPECT_THAT(selected(), StartsWith("   1"));
    const std::vector<std::pair<Key, std::string_view>> moves{
        {{.code = Code::Down}, "   2"},
        {{.code = Code::Character, .text = "j"}, "   3"},
        {{.code = Code::Up}, "   2"},
        {{.code = Code::PageDown}, "  10"},
        {{.code = Code::Character, .text = "k"}, "   9"},
        {{.code = Code::End}, "  30"},
        {{.code = Code::Down}, "  30"},
        {{.code = Code::PageUp}, "  22"},
        {{.code = Code::Character, .text = "g"}, "   1"},
        {{.code = Code::Character, .text = "G"}, "  30"},
        {{.code = Code::Home}, "   1"},
        {{.code = Code::Up}, "   1"}};
    for (const auto &[key, row] : moves) {
        static_cast<void>(screen.press(key));
        EXPECT_FALSE(screen.redraw());
        EXPECT_THAT(selected(), StartsWith(std::string(row)));
        EXPECT_EQ(drawn().size(), 10U);
    }
}

TEST_F(WatchScreenTest, KeepsTheSelectionOnItsListener)
{
    EXPECT_FALSE(screen.show(listenersFrom({record(80, 1, "a"), record(90, 2, "b")})));
    press({Code::Down});
    EXPECT_FALSE(
        screen.show(listenersFrom({record(70, 3, "c"), record(80, 1, "a"), record(90, 2, "b")})));
    EXPECT_THAT(selected(), HasSubstr("  90"));
}

TEST_F(WatchScreenTest, FiltersWhileTheUserTypes)
{
    EXPECT_FALSE(screen.show(listenersFrom({record(80, 1, "apple"), record(90, 2, "berry")})));
    type("/ber");
    ASSERT_EQ(drawn().size(), 3U);
    EXPECT_THAT(drawn()[1], HasSubstr("berry"));
    EXPECT_EQ(drawn()[2], "/ber_  1 of 2");
    type("q");
    EXPECT_EQ(drawn().back(), "/berq_  0 of 2") << "a letter, and no command";
    press({Code::Backspace, Code::Enter});
    EXPECT_THAT(drawn().back(), StartsWith("1 of 2 with \"ber\""));
    press({Code::Escape});
    EXPECT_THAT(drawn().back(), StartsWith("2 listeners"));
}

TEST_F(WatchScreenTest, SortsByOneColumnAfterTheOther)
{
    RawPortInfo large = record(80, 3, "a");
    large.memoryBytes = std::uint64_t{1} << 40U;
    EXPECT_FALSE(screen.show(listenersFrom({large, record(90, 2, "b"), record(95, 1, "c")})));
    type("ss");
    EXPECT_THAT(drawn()[1], HasSubstr(" 95 "));
    EXPECT_THAT(drawn().back(), StartsWith("(by pid) "));
    type("r");
    EXPECT_THAT(drawn()[1], HasSubstr(" 80 "));
    EXPECT_THAT(drawn().back(), StartsWith("(by pid, reversed) "));
    type("sssr");
    EXPECT_THAT(drawn()[3], HasSubstr(" 80 "));
    type("SSSSS");
    EXPECT_THAT(drawn()[1], HasSubstr(" 80 "));
    EXPECT_THAT(drawn().back(), Not(HasSubstr("(by ")));
}

TEST_F(WatchScreenTest, ShowsDetailsOfTheSelectedRow)
{
    test.output.shape.rows = 24;
    EXPECT_FALSE(screen.show(listeners(2)));
    press({Code::Down, Code::Enter});
    EXPECT_EQ(drawn()[0], "Port        2");
    EXPECT_EQ(drawn()[1], "Process     node (pid 2)");
    EXPECT_THAT(drawn(), testing::Contains("Folder      ~/shop"));
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(drawn().back(), StartsWith("It listens no more."));
    type("x");
    EXPECT_THAT(test.output.written, Not(HasSubstr("[y/N]")));
    press({Code::Escape});
    EXPECT_THAT(drawn()[0], StartsWith("PORT"));
}

TEST_F(WatchScreenTest, ShowsWhatHasChanged)
{
    test.output.shape.columns = 120;
    EXPECT_FALSE(screen.show(listeners(1)));
    type("h");
    EXPECT_EQ(drawn()[0], "Nothing has changed since this watch began.");
    EXPECT_FALSE(screen.show(listeners(2)));
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(drawn()[0], HasSubstr("  closed  :2  node (pid 2), after 0s"));
    EXPECT_THAT(drawn()[1], HasSubstr("  opened  :2  node (pid 2)"));
    type("h");
    EXPECT_THAT(drawn().back(), HasSubstr("  - :2 node"));
}

TEST_F(WatchScreenTest, ScrollsATextThatDoesNotFit)
{
    test.output.shape.rows = 5;
    type("?");
    EXPECT_THAT(drawn()[0], StartsWith("Up Down"));
    press({Code::Down});
    EXPECT_THAT(drawn()[0], StartsWith("PgUp"));
    press({Code::End});
    EXPECT_THAT(drawn()[3], StartsWith("q Ctrl+C"));
    EXPECT_EQ(drawn().size(), 5U);
}

TEST_F(WatchScreenTest, AsksBeforeItStopsAProcess)
{
    EXPECT_FALSE(screen.show(listeners(2)));
    EXPECT_EQ(type("x"), WatchView::KeyResult::DiscardKeys);
    EXPECT_EQ(drawn().back(), "Stop node (pid 1) on port 1? [y/N]");
    EXPECT_THAT(ender.ended, testing::IsEmpty());
    type("y");
    EXPECT_THAT(ender.ended, testing::ElementsAre(1));
    EXPECT_EQ(drawn().back(), "node (pid 1) on port 1 has ended.");
    press({Code::Down});
    EXPECT_THAT(drawn().back(), StartsWith("2 listeners"));
}

TEST_F(WatchScreenTest, TakesAnyOtherKeyForNo)
{
    EXPECT_FALSE(screen.show(listeners(2)));
    for (const Code code : {Code::Enter, Code::Escape, Code::Down, Code::Other}) {
        EXPECT_EQ(press({Code::Delete}), WatchView::KeyResult::DiscardKeys);
        press({code});
        EXPECT_THAT(drawn().back(), StartsWith("2 listeners"));
    }
    type("xqxn");
    EXPECT_THAT(ender.ended, testing::IsEmpty());
}

TEST_F(WatchScreenTest, AsksOnlyWhereAllOfTheQuestionIsSeen)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    test.output.shape = {.isTerminal = true, .columns = 20, .rows = 2};
    type("x");
    EXPECT_EQ(drawn(), (std::vector<std::string>{"Stop node (pid 1) on", "port 1? [y/N]"}));
    type("n");
    test.output.shape.rows = 1;
    EXPECT_EQ(type("x"), WatchView::KeyResult::Done);
    EXPECT_EQ(drawn().back(), "No room to ask.");
    type("y");
    EXPECT_THAT(ender.ended, testing::IsEmpty());
}

TEST_F(WatchScreenTest, QuitsOnItsKeyInEveryText)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_EQ(type("q"), WatchView::KeyResult::Quit);
    EXPECT_EQ(type("hq"), WatchView::KeyResult::Quit);
    EXPECT_EQ(type("?q"), WatchView::KeyResult::Quit);
}

TEST_F(WatchScreenTest, IsDrawnAgainInTheNewSize)
{
    EXPECT_FALSE(screen.show(listeners(20)));
    test.output.shape.rows = 30;
    EXPECT_FALSE(screen.redraw());
    EXPECT_EQ(drawn().size(), 22U);
}

TEST_F(WatchScreenTest, SaysWhyAScanFailedBelowTheLastListing)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_FALSE(screen.showFailure("no\x1b sockets"));
    EXPECT_EQ(drawn().size(), 3U);
    EXPECT_EQ(drawn().back(), "no^[ sockets");
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(drawn().back(), StartsWith("1 listener:"));
}

TEST_F(WatchScreenTest, SaysThatThereIsNothing)
{
    EXPECT_FALSE(screen.show({}));
    EXPECT_THAT(drawn(), testing::ElementsAre("Nothing is listening.  ?: help"));
}

} // namespace Tarnwick
