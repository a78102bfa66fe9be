// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <set>

namespace Tarnwick {

namespace {

using testing::HasSubstr;

const std::string folder(projectFolder);
const std::string manual = folder + "/docs/man/tarnwickctl.1";
const std::string tiersManual = folder + "/docs/man/tarnwick-tiers.5";
const std::string bashCompletion = folder + "/completions/tarnwickctl.bash";
const std::string zshCompletion = folder + "/completions/_tarnwickctl";
const std::string fishCompletion = folder + "/completions/tarnwickctl.fish";

constexpr std::array commands{"list", "watch", "why", "kill", "free", "wait", "url", "tiers"};

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
    for (const char *command : commands) {
        const std::string help = run({std::string(programPath), command, "--help"}).output;
        constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz-";
        std::size_t at = 0;
        while ((at = help.find("--", at)) != std::string::npos) {
            at += 2;
            options.insert(help.substr(at, help.find_first_not_of(letters, at) - at));
        }
    }
    return options;
}

} // namespace

TEST(Documentation, HasAManualWithoutMistakes)
{
    if (!isInstalled("mandoc")) {
        GTEST_SKIP() << "mandoc is not installed";
    }
    const auto result = run({"mandoc", "-Tlint", "-W", "warning", manual, tiersManual});
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
        for (const char *command : commands) {
            EXPECT_THAT(text, HasSubstr(command)) << path;
        }
    }
}

TEST(Documentation, HasCompletionsWithoutMistakesOfSyntax)
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

} // namespace Tarnwick
