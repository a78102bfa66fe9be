// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Arguments.h"

#include "Shared/Version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Arguments parse(std::initializer_list<const char *> arguments)
{
    return parseArguments(std::span(arguments.begin(), arguments.size()));
}

Selection selection(std::initializer_list<const char *> arguments)
{
    return std::get<ListArguments>(parse(arguments)).selection;
}

std::string usageError(std::initializer_list<const char *> arguments)
{
    const Arguments parsed = parse(arguments);
    const auto *error = std::get_if<UsageError>(&parsed);
    return error != nullptr ? error->message : "";
}

std::string information(std::initializer_list<const char *> arguments)
{
    const Arguments parsed = parse(arguments);
    const auto *information = std::get_if<Information>(&parsed);
    return information != nullptr ? information->text : "";
}

} // namespace

TEST(Arguments, ListEverythingWhenThereAreNone)
{
    const auto list = std::get<ListArguments>(parse({}));
    EXPECT_EQ(list.selection, Selection{});
    EXPECT_FALSE(list.json);
}

TEST(Arguments, TakeTheOptionsOfListWithAndWithoutItsName)
{
    const Selection expected{
        .tiers = {PortTier::Dev, PortTier::Unknown}, .search = "node js", .ports = {{3000, 3000}}};
    for (const Arguments &parsed : {parse({"--tier", "dev", "--tier=unknown", "--search", "node js",
                                           "--port", "3000", "--json"}),
                                    parse({"list", "--json", "--port=3000", "--search=node js",
                                           "--tier", "dev", "--tier", "unknown"})}) {
        const auto list = std::get<ListArguments>(parsed);
        EXPECT_EQ(list.selection, expected);
        EXPECT_TRUE(list.json);
    }
}

TEST(Arguments, TakeTheOptionsOfWatch)
{
    const auto watch = std::get<WatchArguments>(
        parse({"watch", "--interval", "0.25", "--tier", "app", "--json", "--search", "x"}));
    EXPECT_EQ(watch.interval, std::chrono::milliseconds(250));
    EXPECT_THAT(watch.selection.tiers, ElementsAre(PortTier::App));
    EXPECT_EQ(watch.selection.search, "x");
    EXPECT_TRUE(watch.json);
}

TEST(Arguments, WatchEveryTwoSecondsUnlessToldOtherwise)
{
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch"})).interval, std::nullopt);
}

TEST(Arguments, TakePortsToKillInTheirOrder)
{
    const auto kill = std::get<KillArguments>(parse({"kill", "8080", "3000", "-y", "--system"}));
    EXPECT_THAT(kill.ports, ElementsAre(8080, 3000));
    EXPECT_TRUE(kill.pids.empty());
    EXPECT_TRUE(kill.yes);
    EXPECT_TRUE(kill.system);
}

TEST(Arguments, TakeProcessesToKill)
{
    const auto kill = std::get<KillArguments>(parse({"kill", "--pid", "42", "--pid=7", "--yes"}));
    EXPECT_THAT(kill.pids, ElementsAre(42, 7));
    EXPECT_TRUE(kill.yes);
    EXPECT_FALSE(kill.system);
}

TEST(Arguments, AskBeforeKillingUnlessToldOtherwise)
{
    EXPECT_FALSE(std::get<KillArguments>(parse({"kill", "3000"})).yes);
}

TEST(Arguments, RefuseToKillNothingInParticular)
{
    EXPECT_EQ(usageError({"kill"}), "kill needs a PORT or --pid");
    EXPECT_EQ(usageError({"kill", "--yes"}), "kill needs a PORT or --pid");
}

TEST(Arguments, RefuseToKillPortsAndProcessesAtOnce)
{
    EXPECT_EQ(usageError({"kill", "3000", "--pid", "42"}),
              "kill takes either ports or --pid, not both");
}

TEST(Arguments, TakeTheLeastAndTheGreatestPort)
{
    EXPECT_THAT(selection({"--port", "1"}).ports, ElementsAre(SelectedPorts{1, 1}));
    EXPECT_THAT(selection({"--port", "65535"}).ports, ElementsAre(SelectedPorts{65'535, 65'535}));
}

TEST(Arguments, TakeSeveralPortsAndRanges)
{
    EXPECT_THAT(selection({"--port", "3000,5173", "--port=8000-8999"}).ports,
                ElementsAre(SelectedPorts{3000, 3000}, SelectedPorts{5173, 5173},
                            SelectedPorts{8000, 8999}));
}

TEST(Arguments, TakeUsersAndTextsThatAreNotWanted)
{
    const Selection parsed =
        selection({"--user", "ada", "--user=0", "--not", "test", "--not=a b", "--exposed"});
    EXPECT_THAT(parsed.users, ElementsAre("ada", "0"));
    EXPECT_THAT(parsed.excluded, ElementsAre("test", "a b"));
    EXPECT_TRUE(parsed.exposed);
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch", "--user", "ada", "--user=0", "--not", "test",
                                              "--not=a b", "--exposed"}))
                  .selection,
              parsed);
}

TEST(Arguments, TakeWhatTheTableShows)
{
    const auto list = std::get<ListArguments>(
        parse({"list", "--columns", "port,command", "--sort=-memory,port", "--group-by", "unit"}));
    EXPECT_THAT(list.columns, ElementsAre(Column::Port, Column::Command));
    EXPECT_THAT(list.order,
                ElementsAre(SortKey{Column::Memory, true}, SortKey{Column::Port, false}));
    EXPECT_EQ(list.grouping, Grouping::Unit);
    EXPECT_FALSE(list.pidsOnly);
    EXPECT_TRUE(std::get<ListArguments>(parse({"--pids"})).pidsOnly);
}

TEST(Arguments, HaveAHelpThatNamesEachColumn)
{
    const std::string help = information({"list", "--help"});
    std::string names = Columns::names(74);
    for (std::size_t end = 0; (end = names.find('\n', end)) != std::string::npos; end += 3) {
        names.replace(end, 1, "\n  ");
    }
    EXPECT_THAT(help, HasSubstr("Columns:\n  " + names + "\n"));
}

class WrongPorts : public testing::TestWithParam<const char *>
{
};

TEST_P(WrongPorts, AreUsageErrorsThatNameThem)
{
    EXPECT_THAT(usageError({"--port", GetParam()}), HasSubstr("is not a port: 1 to 65535"));
    EXPECT_THAT(usageError({"kill", GetParam()}), HasSubstr("is not a port: 1 to 65535"));
}

INSTANTIATE_TEST_SUITE_P(Arguments, WrongPorts,
                         testing::Values("0", "65536", "99999999999999999999", "http", "80 ", " 80",
                                         "0x50", "80.0", "+80", ""));

class WrongArguments : public testing::TestWithParam<std::vector<const char *>>
{
};

TEST_P(WrongArguments, AreUsageErrors)
{
    EXPECT_TRUE(std::holds_alternative<UsageError>(parseArguments(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, WrongArguments,
    testing::Values(
        std::vector{"--tier", "Dev"}, std::vector{"--tier", ""}, std::vector{"--tier"},
        std::vector{"--tier", "dev", "app"}, std::vector{"--port", "2-1"},
        std::vector{"--port", "1,"}, std::vector{"--port", "1-"}, std::vector{"--port", "-2"},
        std::vector{"--port", "1-2-3"}, std::vector{"--not", " "}, std::vector{"--user", ""},
        std::vector{"--columns", "ports"}, std::vector{"--columns", ""},
        std::vector{"--sort", "--port"}, std::vector{"--group-by", "port"},
        std::vector{"watch", "--columns", "port"}, std::vector{"watch", "--pids"},
        std::vector{"--unheard-of"}, std::vector{"--json", "watch"}, std::vector{"list", "3000"},
        std::vector{"list", "--interval", "1"}, std::vector{"list", "--yes"},
        std::vector{"kill", "3000", "--json"}, std::vector{"watch", "--interval", "0.19"},
        std::vector{"watch", "--interval", "3600.1"}, std::vector{"watch", "--interval", "1."},
        std::vector{"watch", "--interval", "1.-5"}, std::vector{"watch", "--interval", "1e3"},
        std::vector{"watch", "--interval", "-1.5"}, std::vector{"watch", "--interval", "nan"},
        std::vector{"watch", "--interval", "inf"}, std::vector{"watch", "--interval", "1s"},
        std::vector{"watch", "--interval", ""}, std::vector{"kill", "--pid", "0"},
        std::vector{"kill", "--pid", "-1"}, std::vector{"kill", "--pid", "2147483648"},
        std::vector{"kill", "-3000"}, std::vector{""}, std::vector{"help"}));

TEST(Arguments, NameTheTiersWhenOneIsWrong)
{
    EXPECT_EQ(usageError({"--tier", "developer"}),
              "--tier: 'developer' is not a tier: system, app, dev or unknown");
}

TEST(Arguments, NameTheFirstOfThoseThatWereNotExpected)
{
    EXPECT_EQ(usageError({"list", "3000", "x"}), "unexpected argument '3000'");
    EXPECT_EQ(usageError({"--jsn"}), "unknown option '--jsn'");
}

/// A wrong command line, what is said about it, and the command whose help is named.
struct Misuse
{
    std::vector<const char *> arguments;
    std::string message;
    std::string command = "tarnwickctl";
};

std::ostream &operator<<(std::ostream &stream, const Misuse &misuse)
{
    return stream << misuse.message;
}

class Misuses : public testing::TestWithParam<Misuse>
{
};

TEST_P(Misuses, AreExplainedInASentence)
{
    const Arguments parsed = parseArguments(GetParam().arguments);
    const auto *const error = std::get_if<UsageError>(&parsed);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->message, GetParam().message);
    EXPECT_EQ(error->command, GetParam().command);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, Misuses,
    testing::Values(
        Misuse{{"--foo"}, "unknown option '--foo'"},
        Misuse{{"--foo=bar"}, "unknown option '--foo'"},
        Misuse{{"--JSON"}, "unknown option '--JSON'"}, Misuse{{"-x"}, "unknown option '-x'"},
        Misuse{{"kill", "-yx", "3000"}, "unknown option '-x'", "tarnwickctl kill"},
        Misuse{{"list", "--yes"}, "unknown option '--yes'", "tarnwickctl list"},
        Misuse{{"kill", "3000", "--json"}, "unknown option '--json'", "tarnwickctl kill"},
        Misuse{{"list", "3000"}, "unexpected argument '3000'", "tarnwickctl list"},
        Misuse{{"list", "-"}, "unexpected argument '-'", "tarnwickctl list"},
        Misuse{{"list", ""}, "unexpected argument ''", "tarnwickctl list"},
        Misuse{{"list", "--", "--json"}, "unexpected argument '--json'", "tarnwickctl list"},
        Misuse{{"--json", "watch"}, "unexpected argument 'watch'"},
        Misuse{{"--tier"}, "option '--tier' needs a value"},
        Misuse{{"--search"}, "option '--search' needs a value"},
        Misuse{{"--tier", "dev", "--tier"}, "option '--tier' needs a value"},
        Misuse{{"watch", "--interval"}, "option '--interval' needs a value", "tarnwickctl watch"},
        Misuse{{"kill", "--pid", "1", "--pid"}, "option '--pid' needs a value", "tarnwickctl kill"},
        Misuse{{"--sort", "port", "--sort", "pid"}, "option '--sort' may be given only once"},
        Misuse{{"--json", "--pids"}, "--json and --pids exclude each other"},
        Misuse{{"list", "--columns", "port", "--json"},
               "--columns is for the table, not for --json",
               "tarnwickctl list"},
        Misuse{{"--group-by", "tier", "--pids"}, "--group-by is for the table, not for --pids"},
        Misuse{{"--search", "a", "--search", "b"}, "option '--search' may be given only once"},
        Misuse{{"watch", "--interval", "1", "--interval", "2"},
               "option '--interval' may be given only once",
               "tarnwickctl watch"},
        Misuse{{"--json=x"}, "option '--json' takes no value"},
        Misuse{{"--json=false"}, "option '--json' takes no value"},
        Misuse{{"--help=x"}, "option '--help' takes no value"},
        Misuse{{"--version=1"}, "option '--version' takes no value"},
        Misuse{{"kill", "--yes=no", "1"}, "option '--yes' takes no value", "tarnwickctl kill"},
        Misuse{{"--port", "http"},
               "--port: 'http' is not a port: 1 to 65535, or a range such as 8000-8999"},
        Misuse{{"kill", "http"}, "PORT: 'http' is not a port: 1 to 65535", "tarnwickctl kill"},
        Misuse{
            {"kill", "--pid", "x"}, "--pid: 'x' is not a process identifier", "tarnwickctl kill"},
        Misuse{{"kill"}, "kill needs a PORT or --pid", "tarnwickctl kill"},
        Misuse{{"why"}, "why needs a PORT", "tarnwickctl why"},
        Misuse{{"why", "1", "2"}, "unexpected argument '2'", "tarnwickctl why"},
        Misuse{{"0"}, "PORT: '0' is not a port: 1 to 65535", "tarnwickctl why"},
        Misuse{{"65536"}, "PORT: '65536' is not a port: 1 to 65535", "tarnwickctl why"},
        Misuse{{"free"}, "free needs a PORT", "tarnwickctl free"},
        Misuse{{"free", "--pid", "1"}, "unknown option '--pid'", "tarnwickctl free"},
        Misuse{{"wait"}, "wait needs a PORT", "tarnwickctl wait"},
        Misuse{{"wait", "0"}, "PORT: '0' is not a port: 1 to 65535", "tarnwickctl wait"},
        Misuse{{"wait", "1", "--timeout", "-1"},
               "--timeout: '-1' is not a number of seconds from 0 to 86400",
               "tarnwickctl wait"},
        Misuse{{"url"}, "url needs a PORT", "tarnwickctl url"},
        Misuse{{"url", "80", "81"}, "unexpected argument '81'", "tarnwickctl url"}));

TEST(Arguments, TakeAnEmptySearchForNone)
{
    EXPECT_EQ(std::get<ListArguments>(parse({"--search="})).selection, Selection{});
    EXPECT_EQ(std::get<ListArguments>(parse({"--search", ""})).selection, Selection{});
    EXPECT_EQ(usageError({"--port="}),
              "--port: '' is not a port: 1 to 65535, or a range such as 8000-8999");
}

TEST(Arguments, NameTheCommandsWhenOneIsWrong)
{
    EXPECT_THAT(usageError({"stop", "3000"}),
                testing::StartsWith("'stop' is not a command: list, watch, kill, "));
}

TEST(Arguments, TakeTheLeastAndTheGreatestInterval)
{
    using std::chrono::milliseconds;
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch", "--interval", "0.2"})).interval,
              milliseconds(200));
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch", "--interval", "3600.000"})).interval,
              milliseconds(3'600'000));
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch", "--interval", "1.2345"})).interval,
              milliseconds(1234));
    EXPECT_EQ(std::get<WatchArguments>(parse({"watch", "--interval", "12.5"})).interval,
              milliseconds(12'500));
}

TEST(Arguments, HaveAHelpForEachCommandWithExamples)
{
    EXPECT_THAT(information({"--help"}), HasSubstr("Commands:"));
    EXPECT_THAT(information({"-h"}), HasSubstr("tarnwickctl kill 3000"));
    EXPECT_THAT(information({"list", "--help"}), HasSubstr("tarnwickctl list --search node"));
    EXPECT_THAT(information({"watch", "--help"}), HasSubstr("--interval SECONDS"));
    EXPECT_THAT(information({"kill", "--help"}), HasSubstr("tarnwickctl kill --pid 4711"));
}

TEST(Arguments, TakeANumberForThePortOfWhy)
{
    for (const Arguments &parsed : {parse({"why", "3000", "--json"}), parse({"3000", "--json"})}) {
        EXPECT_EQ(std::get<WhyArguments>(parsed).port, 3000);
        EXPECT_TRUE(std::get<WhyArguments>(parsed).json);
    }
    EXPECT_FALSE(std::get<WhyArguments>(parse({"3000"})).json);
}

TEST(Arguments, TakePortsToFree)
{
    const auto free = std::get<FreeArguments>(parse({"free", "3000", "80"}));
    EXPECT_THAT(free.ports, ElementsAre(3000, 80));
    EXPECT_FALSE(free.yes || free.system || free.dryRun);
    const auto all = std::get<FreeArguments>(parse({"free", "-y", "--system", "--dry-run", "1"}));
    EXPECT_TRUE(all.yes && all.system && all.dryRun);
}

TEST(Arguments, TakePortsToWaitFor)
{
    using Awaited = WaitArguments::Awaited;
    const auto wait = std::get<WaitArguments>(parse({"wait", "5432", "6379"}));
    EXPECT_THAT(wait.ports, ElementsAre(5432, 6379));
    EXPECT_EQ(wait.awaited, Awaited::Listener);
    EXPECT_EQ(wait.timeout, std::nullopt);
    const auto free = std::get<WaitArguments>(parse({"wait", "--free", "80", "--timeout", "1.5"}));
    EXPECT_THAT(free.ports, ElementsAre(80));
    EXPECT_EQ(free.awaited, Awaited::FreePort);
    EXPECT_EQ(free.timeout, std::chrono::milliseconds(1500));
    EXPECT_EQ(std::get<WaitArguments>(parse({"wait", "1", "--timeout=0"})).timeout,
              std::chrono::milliseconds(0));
}

TEST(Arguments, TakeThePortOfAUrl)
{
    EXPECT_EQ(std::get<UrlArguments>(parse({"url", "3000"})).port, 3000);
}

TEST(Arguments, HaveAHelpThatFitsIn80Columns)
{
    constexpr std::size_t columns = 80;
    for (const std::string &help :
         {information({"--help"}), information({"list", "--help"}),
          information({"watch", "--help"}), information({"kill", "--help"}),
          information({"why", "--help"}), information({"free", "--help"}),
          information({"wait", "--help"}), information({"url", "--help"})}) {
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), columns) << line;
        }
    }
}

TEST(Arguments, TellTheVersion)
{
    const std::string expected = "tarnwickctl " + std::string(version) + "\n";
    EXPECT_EQ(information({"--version"}), expected);
    EXPECT_EQ(information({"kill", "--version"}), expected);
}

} // namespace Tarnwick
