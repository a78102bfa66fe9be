// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleFiles.h"

#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Files = std::vector<TierRuleSources::File>;

/// A file with one rule for @p port.
std::string fileFor(int port)
{
    return "[[rule]]\ntier = 'dev'\nports = " + std::to_string(port) + "\n";
}

class TierRuleFilesTest : public testing::Test
{
protected:
    [[nodiscard]] std::string path(const std::string &name) const { return m_folder.path() / name; }

    void write(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name)) << text;
    }

    [[nodiscard]] TierRuleFiles files(Files files)
    {
        return {{.files = std::move(files), .home = "/home/ada"},
                [this](const TierRuleProblem &problem) { m_reported.push_back(problem.text()); }};
    }

    [[nodiscard]] static std::vector<std::int64_t> ports(TierRuleFiles &files)
    {
        const SharedTierRules rules = files.update();
        std::vector<std::int64_t> ports;
        for (const TierRule &rule : rules->rules()) {
            ports.push_back(rule.ports.front().first);
        }
        return ports;
    }

    TemporaryFolder m_folder;
    std::vector<std::string> m_reported;
};

} // namespace

TEST(TierRuleSources, AreTheUsersTheAdministratorsAndTheShippedFile)
{
    const TierRuleSources sources = TierRuleSources::from(
        {.home = "/home/ada/", .systemFolder = "/etc", .programFolder = "/usr/bin"});
    EXPECT_EQ(sources.files, (Files{{"/home/ada/.config/velmora/tarnwick/tiers.toml"},
                                    {"/etc/tarnwick/tiers.toml"},
                                    {"/usr/share/tarnwick/tiers.toml"}}));
    EXPECT_EQ(sources.home, "/home/ada");
}

TEST(TierRuleSources, FollowTheFolderForConfiguration)
{
    using Environment = TierRuleSources::Environment;
    const auto first = [](const Environment &environment) {
        return TierRuleSources::from(environment).files.front().path;
    };
    EXPECT_EQ(first({.home = "/home/ada", .configHome = "/c", .systemFolder = "/etc"}),
              "/c/velmora/tarnwick/tiers.toml");
    EXPECT_EQ(first({.home = "/home/ada", .configHome = "c", .systemFolder = "/etc"}),
              "/home/ada/.config/velmora/tarnwick/tiers.toml");
    EXPECT_EQ(first({.configHome = "", .systemFolder = "/etc"}), "/etc/tarnwick/tiers.toml");
}

TEST(TierRuleSources, AreTheChosenFileAloneOrNone)
{
    const TierRuleSources chosen = TierRuleSources::from(
        {.chosen = "my.toml", .home = "/home/ada", .systemFolder = "/etc", .programFolder = "/b"});
    EXPECT_EQ(chosen.files, (Files{{"my.toml", true}}));
    EXPECT_EQ(chosen.home, "/home/ada");
    EXPECT_THAT(TierRuleSources::from({.chosen = "none", .systemFolder = "/etc"}).files, IsEmpty());
}

TEST(TierRuleSources, AreNoneInTheTestsEnvironment)
{
    EXPECT_THAT(TierRuleSources::ofThisProcess().files, IsEmpty());
}

TEST_F(TierRuleFilesTest, ReadTheFilesInTheirOrder)
{
    write("a", fileFor(1) + fileFor(2));
    write("b", fileFor(3));
    TierRuleFiles read = files({{path("b")}, {path("missing")}, {path("a")}});
    EXPECT_THAT(ports(read), ElementsAre(3, 1, 2));
    EXPECT_THAT(read.problems(), IsEmpty());
    EXPECT_EQ(read.update()->rules()[1].file, path("a"));
}

TEST_F(TierRuleFilesTest, ReadAFileThatHasChanged)
{
    write("a", fileFor(1));
    TierRuleFiles read = files({{path("a")}});
    EXPECT_THAT(ports(read), ElementsAre(1));
    // In the same tick of the kernel's clock, and of the same size.
    write("a", fileFor(2));
    EXPECT_THAT(ports(read), ElementsAre(2));
    write("new", fileFor(3));
    std::filesystem::rename(path("new"), path("a"));
    EXPECT_THAT(ports(read), ElementsAre(3));
    std::filesystem::remove(path("a"));
    EXPECT_THAT(ports(read), IsEmpty());
    write("a", fileFor(4));
    EXPECT_THAT(ports(read), ElementsAre(4));
}

TEST_F(TierRuleFilesTest, KeepTheRulesWhileNothingChanges)
{
    write("a", fileFor(1));
    TierRuleFiles read = files({{path("a")}, {path("missing")}});
    const SharedTierRules rules = read.update();
    EXPECT_EQ(read.update(), rules);
    std::filesystem::last_write_time(path("a"), std::filesystem::file_time_type());
    EXPECT_EQ(read.update(), rules);
}

TEST_F(TierRuleFilesTest, RefuseABadFileWholeAndKeepTheOthers)
{
    write("a", fileFor(1) + "[[rule]]\ntier = 'dev'\nport = 1\n");
    write("b", fileFor(3));
    TierRuleFiles read = files({{path("a")}, {path("b")}});
    EXPECT_THAT(ports(read), ElementsAre(3));
    const std::string problem = path("a") + ":6: unknown key 'port'";
    EXPECT_THAT(m_reported, ElementsAre(problem));
    ASSERT_EQ(read.problems().size(), 1U);
    EXPECT_EQ(read.problems().front().text(), problem);

    write("a", fileFor(1));
    EXPECT_THAT(ports(read), ElementsAre(1, 3));
    EXPECT_THAT(read.problems(), IsEmpty());
}

TEST_F(TierRuleFilesTest, ReportABadFileOnceForEachChange)
{
    write("a", "x = 1\n");
    TierRuleFiles read = files({{path("a")}, {path("b")}});
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_EQ(m_reported.size(), 1U);
    write("b", fileFor(1));
    EXPECT_THAT(ports(read), ElementsAre(1));
    EXPECT_EQ(m_reported.size(), 1U);
    write("a", "y = 1\n");
    EXPECT_THAT(ports(read), ElementsAre(1));
    EXPECT_EQ(m_reported.size(), 2U);
}

TEST_F(TierRuleFilesTest, TakeAMissingFileForAnErrorWhereItIsRequired)
{
    TierRuleFiles read = files({{path("missing"), true}});
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_THAT(m_reported, ElementsAre(path("missing") + ": No such file or directory"));
    write("missing", fileFor(1));
    EXPECT_THAT(ports(read), ElementsAre(1));
    std::filesystem::remove(path("missing"));
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_EQ(m_reported.size(), 2U);
}

TEST_F(TierRuleFilesTest, RefuseWhatIsNoRegularFileWithoutWaiting)
{
    std::filesystem::create_directory(path("folder"));
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", path("loop"));
    TierRuleFiles read =
        files({{path("folder")}, {path("fifo")}, {"/dev/zero"}, {path("loop")}, {path("last")}});
    write("last", fileFor(1));
    EXPECT_THAT(ports(read), ElementsAre(1));
    EXPECT_THAT(ports(read), ElementsAre(1));
    EXPECT_THAT(m_reported,
                ElementsAre(path("folder") + ": not a regular file",
                            path("fifo") + ": not a regular file", "/dev/zero: not a regular file",
                            path("loop") + ": Too many levels of symbolic links"));
}

TEST_F(TierRuleFilesTest, RefuseAFileThatMayNotBeRead)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read every file";
    }
    write("a", fileFor(1));
    std::filesystem::permissions(path("a"), std::filesystem::perms::none);
    TierRuleFiles read = files({{path("a")}});
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_THAT(ports(read), IsEmpty());
    EXPECT_THAT(m_reported, ElementsAre(path("a") + ": Permission denied"));
    std::filesystem::permissions(path("a"), std::filesystem::perms::owner_all);
    EXPECT_THAT(ports(read), ElementsAre(1));
}

TEST_F(TierRuleFilesTest, RefuseAFileLargerThanAMebibyte)
{
    const std::string rule = fileFor(1);
    const std::string filling(TierRuleFiles::maxFileSize - rule.size() - 1, '#');
    write("fits", rule + filling + "\n");
    write("large", rule + filling + "#\n");
    TierRuleFiles read = files({{path("large")}, {path("fits")}});
    EXPECT_THAT(ports(read), ElementsAre(1));
    EXPECT_THAT(m_reported, ElementsAre(path("large") + ": larger than 1 MiB"));
}

} // namespace Tarnwick
