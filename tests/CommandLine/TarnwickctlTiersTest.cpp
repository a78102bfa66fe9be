// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char *variable = "TARNWICK_TIERS";

/// Listeners of this machine, and files with rules for their tiers.
class TarnwickctlTiers : public testing::Test
{
protected:
    static RunningProgram::Result tarnwickctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), std::string(programPath));
        return run(arguments);
    }

    /// A rule for the child.
    [[nodiscard]] std::string rule(const std::string &tier, const std::string &description) const
    {
        return "[[rule]]\ntier = '" + tier + "'\nports = " + m_child.portText() +
               "\ndescription = '" + description + "'\n";
    }

    static void write(const std::filesystem::path &path, const std::string &text)
    {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    /// What the program makes of the child.
    [[nodiscard]] std::string listed() const
    {
        return tarnwickctl({"--port", m_child.portText(), "--json"}).output;
    }

    [[nodiscard]] std::filesystem::path path(const char *name) const
    {
        return m_folder.path() / name;
    }

    TemporaryFolder m_folder;
    ListeningChild m_child;
};

} // namespace

TEST_F(TarnwickctlTiers, ComeFromTheChosenFile)
{
    write(path("mine"), rule("app", "Mine"));
    const ScopedEnvironment chosen(variable, path("mine"));
    EXPECT_THAT(listed(), HasSubstr(R"("tier":"app","description":"Mine")"));
}

TEST_F(TarnwickctlTiers, ComeFromTheUsersFileBeforeTheShippedOne)
{
    const ScopedEnvironment all(variable, std::nullopt);
    const std::filesystem::path config = getenv("XDG_CONFIG_HOME");
    write(config / "velmora/tarnwick/tiers.toml", rule("dev", "Of the user"));
    EXPECT_THAT(listed(), HasSubstr(R"("tier":"dev","description":"Of the user")"));
    const auto rules = tarnwickctl({"tiers"});
    std::filesystem::remove(config / "velmora/tarnwick/tiers.toml");
    EXPECT_EQ(rules.exitCode, 0) << rules.errors;
    const std::string shipped = "/share/tarnwick/tiers.toml:\n";
    EXPECT_LT(rules.output.find("velmora/tarnwick/tiers.toml:\n"), rules.output.find(shipped));
    EXPECT_THAT(rules.output, HasSubstr(shipped));
}

TEST_F(TarnwickctlTiers, AreTheBuiltInOnesAloneWhereNoneAreChosen)
{
    const ScopedEnvironment none(variable, "none");
    EXPECT_THAT(listed(), HasSubstr(R"("tier":"unknown","description":"shop-server")"));
    EXPECT_THAT(tarnwickctl({"tiers"}).output, testing::StartsWith("built-in:\n"));
}

TEST_F(TarnwickctlTiers, AreReportedAndLeftOutWhereTheirFileIsBad)
{
    write(path("bad"), rule("app", "Mine") + "tier = 'dev'\n");
    const ScopedEnvironment chosen(variable, path("bad"));
    const auto listing = tarnwickctl({"--port", m_child.portText()});
    EXPECT_EQ(listing.exitCode, 0);
    EXPECT_THAT(listing.output, HasSubstr("unknown"));
    EXPECT_THAT(listing.errors,
                testing::StartsWith("tarnwickctl: " + path("bad").string() + ":5: "));
    EXPECT_EQ(tarnwickctl({"tiers"}).exitCode, 4);
}

TEST_F(TarnwickctlTiers, AreAnErrorWhereTheChosenFileIsMissing)
{
    const ScopedEnvironment chosen(variable, path("missing"));
    const auto listing = tarnwickctl({"--port", m_child.portText()});
    EXPECT_EQ(listing.exitCode, 0);
    EXPECT_EQ(listing.errors,
              "tarnwickctl: " + path("missing").string() + ": No such file or directory\n");
}

TEST_F(TarnwickctlTiers, LetAServerBeStoppedThatTheyCallDev)
{
    write(path("mine"), rule("system", "Mine"));
    const ScopedEnvironment chosen(variable, path("mine"));
    const auto refused = tarnwickctl({"kill", m_child.portText(), "--yes"});
    EXPECT_EQ(refused.exitCode, 3);
    EXPECT_THAT(refused.errors, HasSubstr("--system is needed"));

    write(path("mine"), rule("dev", "Mine"));
    const auto stopped = tarnwickctl({"kill", m_child.portText(), "--yes"});
    EXPECT_EQ(stopped.exitCode, 0) << stopped.errors;
    EXPECT_THAT(stopped.output, HasSubstr("terminated"));
}

TEST_F(TarnwickctlTiers, AreNotReadByCommandsThatClassifyNothing)
{
    const ScopedEnvironment chosen(variable, path("missing"));
    EXPECT_EQ(tarnwickctl({"--version"}).errors, "");
    EXPECT_EQ(tarnwickctl({"url", m_child.portText()}).errors, "");
}

} // namespace Tarnwick
