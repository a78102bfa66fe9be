// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/CompletingShell.h"
#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

namespace Tarnwick {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

/// Each test in each shell that is installed.
class Completion : public testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        const std::string shell = GetParam();
        if (run({"sh", "-c", "command -v " + shell}).exitCode != 0) {
            GTEST_SKIP() << shell << " is not installed";
        }
        m_shell = std::make_unique<CompletingShell>(shell);
    }

    [[nodiscard]] std::set<std::string> offered(const std::string &line) const
    {
        return m_shell->offered(line);
    }

    /// Another tarnwickctl in a folder of the home folder, with one listener: process 41, port
    /// 4241.
    [[nodiscard]] std::filesystem::path makeProgram(const std::string &folder,
                                                    const char *name = "tarnwickctl") const
    {
        std::filesystem::path program = m_shell->home() / folder / name;
        std::filesystem::create_directories(program.parent_path());
        std::ofstream(program) << "#!/bin/sh\necho '{\"pid\":41,\"port\":4241,\"cwd\":\"\"}'\n";
        std::filesystem::permissions(program, std::filesystem::perms(0755));
        return program;
    }

private:
    std::unique_ptr<CompletingShell> m_shell;
};

} // namespace

TEST_P(Completion, OffersCommands)
{
    EXPECT_THAT(offered("tarnwickctl "),
                IsSupersetOf({"list", "watch", "why", "kill", "free", "wait", "url", "tiers"}));
    EXPECT_THAT(offered("tarnwickctl w"), IsSupersetOf({"wait", "watch", "why"}));
    EXPECT_THAT(offered("tarnwickctl wat"), ElementsAre("watch"));
    EXPECT_THAT(offered("tarnwickctl --json w"), IsEmpty());
}

TEST_P(Completion, OffersTheOptionsOfTheCommand)
{
    EXPECT_THAT(offered("tarnwickctl --t"), ElementsAre("--tier"));
    EXPECT_THAT(offered("tarnwickctl list --"),
                ElementsAre("--columns", "--exposed", "--group-by", "--help", "--host", "--json",
                            "--not", "--pids", "--port", "--search", "--sort", "--tier", "--user",
                            "--version"));
    EXPECT_THAT(offered("tarnwickctl watch --"),
                ElementsAre("--exposed", "--help", "--host", "--interval", "--json", "--not",
                            "--port", "--search", "--tier", "--user", "--version"));
    EXPECT_THAT(offered("tarnwickctl watch --i"), ElementsAre("--interval"));
    EXPECT_THAT(offered("tarnwickctl kill --"),
                ElementsAre("--help", "--host", "--pid", "--system", "--version", "--yes"));
    EXPECT_THAT(offered("tarnwickctl free --"),
                ElementsAre("--dry-run", "--help", "--host", "--system", "--version", "--yes"));
    EXPECT_THAT(offered("tarnwickctl why --"),
                ElementsAre("--help", "--host", "--json", "--version"));
    EXPECT_THAT(offered("tarnwickctl wait --"),
                ElementsAre("--free", "--help", "--timeout", "--version"));
    EXPECT_THAT(offered("tarnwickctl url --"), ElementsAre("--help", "--version"));
    EXPECT_THAT(offered("tarnwickctl tiers --"), ElementsAre("--help", "--json", "--version"));
    EXPECT_THAT(offered("tarnwickctl list --y"), IsEmpty());
}

TEST_P(Completion, TakesAValueForNoCommand)
{
    for (const char *line : {"tarnwickctl list --search kill --", "tarnwickctl --search kill --"}) {
        EXPECT_THAT(offered(line),
                    AllOf(Contains("--tier"), Not(Contains("--yes")), Not(Contains("--pid"))))
            << line;
    }
}

TEST_P(Completion, OffersTiers)
{
    EXPECT_THAT(offered("tarnwickctl --tier "), ElementsAre("app", "dev", "system", "unknown"));
    EXPECT_THAT(offered("tarnwickctl watch --tier d"), ElementsAre("dev"));
    EXPECT_THAT(offered("tarnwickctl list --tier=u"), ElementsAre("--tier=unknown"));
}

TEST_P(Completion, OffersWhatRowsAreGroupedBy)
{
    EXPECT_THAT(offered("tarnwickctl list --group-by "),
                ElementsAre("container", "project", "tier", "unit", "user"));
    EXPECT_THAT(offered("tarnwickctl --group-by=p"), ElementsAre("--group-by=project"));
}

TEST_P(Completion, OffersColumns)
{
    EXPECT_THAT(offered("tarnwickctl list --columns "),
                IsSupersetOf({"port", "address", "user", "project", "parent"}));
    EXPECT_THAT(offered("tarnwickctl list --columns pr"), ElementsAre("process", "project"));
    EXPECT_THAT(offered("tarnwickctl list --sort=-me"), ElementsAre("--sort=-memory"));
}

TEST_P(Completion, OffersFurtherColumns)
{
    // What is offered is the whole list in some shells, and the next column in others.
    for (const std::string &choice : offered("tarnwickctl list --columns port,p")) {
        EXPECT_THAT(choice, testing::MatchesRegex("(port,)?(path|parent|pid|process|project)"));
    }
    EXPECT_THAT(offered("tarnwickctl list --columns port,us"),
                testing::AnyOf(ElementsAre("user"), ElementsAre("port,user")));
}

TEST_P(Completion, OffersUsers)
{
    EXPECT_THAT(offered("tarnwickctl list --user roo"), Contains("root"));
}

TEST_P(Completion, OffersNothingForAText)
{
    EXPECT_THAT(offered("tarnwickctl list --search "), IsEmpty());
    EXPECT_THAT(offered("tarnwickctl list --not "), IsEmpty());
    EXPECT_THAT(offered("tarnwickctl watch --interval "), IsEmpty());
    EXPECT_THAT(offered("tarnwickctl wait --timeout "), IsEmpty());
}

TEST_P(Completion, OffersThePortsThatAreListenedOn)
{
    // The name tries to look like a record of its own.
    const ListeningChild child({.name = R"({"pid":7,"port":7,)"});
    for (const char *line :
         {"tarnwickctl kill ", "tarnwickctl kill 3000 ", "tarnwickctl kill --yes ",
          "tarnwickctl kill -- ", "tarnwickctl list --port ", "tarnwickctl --port ",
          "tarnwickctl free ", "tarnwickctl free 3000 --yes ", "tarnwickctl why ",
          "tarnwickctl wait ", "tarnwickctl wait --free 3000 ", "tarnwickctl url "}) {
        EXPECT_THAT(offered(line), AllOf(Contains(child.portText()), Not(Contains("7")))) << line;
    }
    EXPECT_THAT(offered("tarnwickctl watch --port " + child.portText()),
                testing::AnyOf(IsEmpty(), ElementsAre(child.portText())));
}

TEST_P(Completion, OffersOnePortForOneUrl)
{
    const ListeningChild child;
    EXPECT_THAT(offered("tarnwickctl url 3000 "), Not(Contains(child.portText())));
}

TEST_P(Completion, OffersTheProcessesThatListen)
{
    const ListeningChild child;
    EXPECT_THAT(offered("tarnwickctl kill --pid "), Contains(child.pidText()));
    EXPECT_THAT(offered("tarnwickctl kill --yes --pid "), Contains(child.pidText()));
}

TEST_P(Completion, OffersEitherPortsOrProcesses)
{
    const ListeningChild child;
    for (const char *line : {"tarnwickctl kill --pid 1 ", "tarnwickctl kill --pid=1 "}) {
        EXPECT_THAT(offered(line), Not(Contains(child.portText()))) << line;
    }
    EXPECT_THAT(offered("tarnwickctl kill --pid 1 --p"), ElementsAre("--pid"));
    EXPECT_THAT(offered("tarnwickctl kill 3000 --p"), IsEmpty());
}

TEST_P(Completion, OffersWhatMayFollowAProcess)
{
    for (const char *line : {"tarnwickctl kill --pid 1 ", "tarnwickctl kill --pid=1 "}) {
        EXPECT_THAT(offered(line), IsSupersetOf({"--pid", "--yes", "--system"})) << line;
    }
    EXPECT_THAT(offered("tarnwickctl kill --pid 1 --y"), ElementsAre("--yes"));
}

TEST_P(Completion, RunsTheProgramThatIsTyped)
{
    const std::string absolute = makeProgram("bin");
    const std::string relative = std::filesystem::relative(absolute);
    static_cast<void>(makeProgram("my bin"));
    for (const std::string &program :
         {absolute, relative, std::string("~/bin/tarnwickctl"),
          std::string("$HOME/bin/tarnwickctl"), std::string(R"(~/my\ bin/tarnwickctl)")}) {
        EXPECT_THAT(offered(program + " kill "), ElementsAre("4241")) << program;
        EXPECT_THAT(offered(program + " kill --pid "), ElementsAre("41")) << program;
    }
}

TEST_P(Completion, RunsNoProgramForAnUnknownUser)
{
    // What a shell would run that leaves out the program in front of the arguments.
    static_cast<void>(makeProgram("path", "list"));
    for (const char *line :
         {"~no-such-user/tarnwickctl kill ", "~no-such-user/tarnwickctl kill --pid ",
          "~no-such-user/tarnwickctl list --port "}) {
        EXPECT_THAT(offered(line), IsEmpty()) << line;
    }
    EXPECT_THAT(offered("tarnwickctl wat"), ElementsAre("watch"));
}

TEST_P(Completion, OffersNoOptionsBehindTwoDashes)
{
    EXPECT_THAT(offered("tarnwickctl list -- --"), IsEmpty());
    EXPECT_THAT(offered("tarnwickctl kill -- --"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfShells, Completion, testing::Values("bash", "zsh", "fish"),
                         [](const auto &shell) { return std::string(shell.param); });

} // namespace Tarnwick
