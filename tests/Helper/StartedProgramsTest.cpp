// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using ::testing::MatchesRegex;
using Arguments = std::vector<std::string>;

/// Which command a listener is shown with that real shells, wrappers and runners have started.
class StartedProgramsTest : public InventoryFixture
{
protected:
    /// What the listener of a server is shown as that @p command starts, which runs as a job of its
    /// own; empty for its own command. The server is a puppet on the descriptor that it inherits.
    [[nodiscard]] Arguments origin(const Arguments &command)
    {
        Arguments arguments{"env"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        Puppet started("/usr/bin/env", arguments);
        const int port = started.listen().port;
        const RawPortInfo record = only(list(m_inventory), port);
        EXPECT_EQ(record.arguments, (Arguments{Puppet::program(), "server"}));
        RawPortInfo cold = only(coldList(), port);
        cold.memoryBytes = record.memoryBytes; // which may change meanwhile
        EXPECT_EQ(cold, record) << "a cold listing differs from a warm one";
        return record.originArguments;
    }

    /// A shell's command for something that runs for as long as this test does.
    [[nodiscard]] static std::string untilTheTestEnds()
    {
        return "tail --pid=" + std::to_string(::getpid()) + " -f /dev/null";
    }

    [[nodiscard]] static bool isInstalled(std::string_view name)
    {
        std::string folders = std::getenv("PATH");
        for (std::size_t start = 0; start < folders.size();) {
            const std::size_t end = std::min(folders.find(':', start), folders.size());
            const std::filesystem::path program =
                std::filesystem::path(folders.substr(start, end - start)) / name;
            if (::access(program.c_str(), X_OK) == 0) {
                return true;
            }
            start = end + 1;
        }
        return false;
    }

    std::string file(std::string_view name, std::string_view text) const
    {
        const std::filesystem::path path = m_folder.path() / name;
        std::ofstream(path) << text;
        std::filesystem::permissions(path, std::filesystem::perms(0755));
        return path;
    }

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder.path(); }

    static inline const Arguments own{};
    static inline const std::string server = Puppet::program().string() + " server";

private:
    TemporaryFolder m_folder;
};

TEST_F(StartedProgramsTest, AreShownThemselvesWhenAShellStartedThem)
{
    // With something behind it, a shell cannot become its last command.
    EXPECT_EQ(origin({"sh", "-c", server + "; :"}), own);
    EXPECT_EQ(origin({"bash", "-c", server + "; :"}), own);
    EXPECT_EQ(origin({"bash", file("start.sh", server + "\n:\n")}), own);
    EXPECT_EQ(origin({file("run.sh", "#!/bin/sh\n" + server + "\n:\n")}), own);
    EXPECT_EQ(origin({file("serve", "#!/usr/bin/env bash\n" + server + "\n:\n")}), own);
}

TEST_F(StartedProgramsTest, AreShownThemselvesWhenAScriptStartedSeveral)
{
    const std::string other = untilTheTestEnds() + " &\n";
    EXPECT_EQ(origin({file("start-all.sh", "#!/bin/bash\n" + other + server + " &\nwait\n")}), own);
}

TEST_F(StartedProgramsTest, AreShownThemselvesBelowWrappers)
{
    const Arguments words{Puppet::program(), "server"};
    // What stdbuf has loaded into its command comes before the runtime of a sanitizer.
    for (const Arguments &wrapper :
         {Arguments{"timeout", "60"}, Arguments{"timeout", "--foreground", "60"},
          Arguments{"env", "A=b"}, Arguments{"nice"}, Arguments{"setsid", "--wait"},
          Arguments{"stdbuf", "-oL", "env", "-u", "LD_PRELOAD"},
          Arguments{"sh", "-c", "\"$@\"; :", "sh", "nohup"},
          Arguments{"bash", "-c", "time timeout 60 env A=b nice \"$@\"; :", "bash"}}) {
        Arguments command = wrapper;
        command.insert(command.end(), words.begin(), words.end());
        EXPECT_EQ(origin(command), own) << wrapper.front() << " " << wrapper.back();
    }
}

TEST_F(StartedProgramsTest, AreShownAsTheRunnerThatWasTyped)
{
    if (!isInstalled("perl")) {
        GTEST_SKIP() << "perl is not installed";
    }
    const Arguments runner{"perl", "-e", "system(shift)", server + "; :"};
    EXPECT_EQ(origin(runner), runner);
    Arguments wrapped{"timeout", "--foreground", "60"};
    wrapped.insert(wrapped.end(), runner.begin(), runner.end());
    EXPECT_EQ(origin(wrapped), runner);
    EXPECT_EQ(
        origin({"perl", "-e", "for (@ARGV) { fork || exec($_) } wait", untilTheTestEnds(), server}),
        own);
}

TEST_F(StartedProgramsTest, AreShownAsTheTargetOfMake)
{
    if (!isInstalled("make")) {
        GTEST_SKIP() << "make is not installed";
    }
    const std::string rules = file("rules.mk", "serve:\n\t@" + server + "; :\n");
    EXPECT_EQ(origin({"make", "-f", rules, "serve"}), (Arguments{"make", "-f", rules, "serve"}));
}

TEST_F(StartedProgramsTest, AreShownThemselvesBelowATracer)
{
    if (!isInstalled("strace")) {
        GTEST_SKIP() << "strace is not installed";
    }
    const Arguments traced{"strace", "-o", "/dev/null", "-f", Puppet::program(), "server"};
    if (std::system("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "nothing may be traced here";
    }
    EXPECT_EQ(origin(traced), own);
}

TEST_F(StartedProgramsTest, AreShownAsNpmsScriptUnlessItStartsTwo)
{
    if (!isInstalled("npm") || !isInstalled("node")) {
        GTEST_SKIP() << "npm is not installed";
    }
    const ScopedEnvironment notifier("npm_config_update_notifier", "false");
    const ScopedEnvironment logs("npm_config_logs_max", "0");
    file("both.js", "const start = require('child_process').spawn;\n"
                    "for (const command of process.argv.slice(2)) {\n"
                    "    start('sh', ['-c', command + '; :'], {stdio: 'inherit'});\n"
                    "}\n");
    file("package.json", R"({"name": "shop", "version": "1.0.0", "scripts": {"dev": ")" + server +
                             R"(", "one": "node both.js ')" + server +
                             R"('", "both": "node both.js ')" + untilTheTestEnds() + "' '" +
                             server + R"('"}})");
    // Most versions show their command as their title, one argument.
    const auto shown = [this](const std::string &script) {
        const std::string command =
            "cd " + folder().string() + " && exec npm run --silent " + script;
        std::string text;
        for (const std::string &argument : origin({"sh", "-c", command})) {
            text += (text.empty() ? "" : " ") + argument;
        }
        return text;
    };
    EXPECT_THAT(shown("dev"), MatchesRegex(".*npm run .*dev"));
    EXPECT_THAT(shown("one"), MatchesRegex(".*npm run .*one"));
    EXPECT_EQ(shown("both"), "");
}

} // namespace
} // namespace Tarnwick
