// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string folder(projectFolder);
const std::string manual = folder + "/docs/man/tarnwickctl.1";
const std::string bashCompletion = folder + "/completions/tarnwickctl.bash";
const std::string zshCompletion = folder + "/completions/_tarnwickctl";
const std::string fishCompletion = folder + "/completions/tarnwickctl.fish";

bool isInstalled(const std::string &program)
{
    return run({"sh", "-c", "command -v " + program}).exitCode == 0;
}

std::string contents(const std::string &path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The long options that the help of the program and of each command tells of, without dashes.
std::set<std::string> longOptions()
{
    std::set<std::string> options;
    for (const char *command : {"list", "watch", "kill"}) {
        const std::string help = run({std::string(programPath), command, "--help"}).output;
        constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz";
        std::size_t at = 0;
        while ((at = help.find("--", at)) != std::string::npos) {
            at += 2;
            options.insert(help.substr(at, help.find_first_not_of(letters, at) - at));
        }
    }
    return options;
}

/// What bash offers after @p words, the last of which is being completed.
std::string offeredByBash(const std::vector<std::string> &words)
{
    const std::string program(programPath);
    std::string script = "source " + bashCompletion + "; COMP_WORDS=(" + program;
    for (const std::string &word : words) {
        script += " '" + word + "'";
    }
    const std::string previous = words.size() > 1 ? words[words.size() - 2] : program;
    script += "); COMP_CWORD=" + std::to_string(words.size()) + "; _tarnwickctl " + program + " '" +
              words.back() + "' '" + previous + R"('; echo " ${COMPREPLY[*]} ")";
    const auto result = run({"bash", "-c", script});
    EXPECT_EQ(result.errors, "");
    return result.output;
}

} // namespace

TEST(Documentation, HasAManualWithoutMistakes)
{
    if (!isInstalled("mandoc")) {
        GTEST_SKIP() << "mandoc is not installed";
    }
    const auto result = run({"mandoc", "-Tlint", "-W", "warning", manual});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
}

TEST(Documentation, TellsOfEachOptionOfTheHelp)
{
    const auto options = longOptions();
    EXPECT_THAT(options, testing::IsSupersetOf({"tier", "search", "port", "json", "interval", "pid",
                                                "yes", "system", "help", "version"}));
    const std::string page = contents(manual);
    const std::string bash = contents(bashCompletion);
    const std::string zsh = contents(zshCompletion);
    const std::string fish = contents(fishCompletion);
    for (const std::string &option : options) {
        EXPECT_THAT(page, HasSubstr("Fl Fl " + option));
        EXPECT_THAT(bash, HasSubstr("--" + option));
        EXPECT_THAT(zsh, HasSubstr("--" + option));
        EXPECT_THAT(fish, HasSubstr("-l " + option));
    }
}

TEST(Documentation, TellsOfEachCommandInEachCompletion)
{
    for (const std::string &path : {manual, bashCompletion, zshCompletion, fishCompletion}) {
        const std::string text = contents(path);
        for (const char *command : {"list", "watch", "kill"}) {
            EXPECT_THAT(text, HasSubstr(command)) << path;
        }
    }
}

TEST(Completion, OfBashOffersCommandsAndOptions)
{
    if (!isInstalled("bash")) {
        GTEST_SKIP() << "bash is not installed";
    }
    EXPECT_THAT(offeredByBash({""}), HasSubstr(" list watch kill "));
    EXPECT_EQ(offeredByBash({"w"}), " watch \n");
    EXPECT_EQ(offeredByBash({"--t"}), " --tier \n");
    EXPECT_EQ(offeredByBash({"watch", "--i"}), " --interval \n");
    EXPECT_EQ(offeredByBash({"kill", "--s"}), " --system \n");
    EXPECT_EQ(offeredByBash({"list", "--y"}), "  \n");
}

TEST(Completion, OfBashOffersTiers)
{
    if (!isInstalled("bash")) {
        GTEST_SKIP() << "bash is not installed";
    }
    EXPECT_EQ(offeredByBash({"--tier", ""}), " system app dev unknown \n");
    EXPECT_EQ(offeredByBash({"watch", "--tier", "d"}), " dev \n");
    EXPECT_EQ(offeredByBash({"list", "--tier", "=", "u"}), " unknown \n");
    EXPECT_EQ(offeredByBash({"--search", ""}), "  \n");
}

TEST(Completion, OfBashOffersThePortsAndProcessesThatListen)
{
    if (!isInstalled("bash")) {
        GTEST_SKIP() << "bash is not installed";
    }
    // The name tries to look like a record of its own.
    const ListeningChild child({.name = R"({"pid":7,"port":7,)"});
    const std::string port = " " + child.portText() + " ";
    EXPECT_THAT(offeredByBash({"kill", ""}), HasSubstr(port));
    EXPECT_THAT(offeredByBash({"--port", ""}), HasSubstr(port));
    EXPECT_EQ(offeredByBash({"list", "--port", child.portText()}), port + "\n");
    EXPECT_THAT(offeredByBash({"kill", "--pid", ""}), HasSubstr(" " + child.pidText() + " "));
    EXPECT_THAT(offeredByBash({"kill", ""}), Not(HasSubstr(" 7 ")));
}

TEST(Completion, HasNoMistakesOfSyntax)
{
    const std::vector<std::vector<std::string>> checks{{"bash", "-n", bashCompletion},
                                                       {"zsh", "-n", zshCompletion},
                                                       {"fish", "--no-execute", fishCompletion}};
    for (const auto &check : checks) {
        if (isInstalled(check.front())) {
            const auto result = run(check);
            EXPECT_EQ(result.exitCode, 0) << check.front() << ": " << result.errors;
        }
    }
}

TEST(Completion, OfFishOffersThePortsThatListen)
{
    if (!isInstalled("fish")) {
        GTEST_SKIP() << "fish is not installed";
    }
    const ListeningChild child;
    const std::string directory = std::filesystem::path(programPath).parent_path();
    const std::string script = "set -x PATH " + directory + " $PATH; source " + fishCompletion +
                               "; complete -C 'tarnwickctl kill '";
    EXPECT_THAT(run({"fish", "--no-config", "-c", script}).output, HasSubstr(child.portText()));
    const std::string tiers = "source " + fishCompletion + "; complete -C 'tarnwickctl --tier d'";
    EXPECT_THAT(run({"fish", "--no-config", "-c", tiers}).output, HasSubstr("dev"));
}

} // namespace Tarnwick
