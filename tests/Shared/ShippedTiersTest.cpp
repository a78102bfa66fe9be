// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/ProcessClassifier.h"
#include "Shared/PortScanner.h"
#include "Shared/TierRuleFiles.h"
#include "tests/Shared/ShippedTierCases.h"
#include "tests/Shared/ShippedTierFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

SharedTierRules shippedRules()
{
    static const SharedTierRules rules =
        TierRuleFiles({.files = {{shippedTierFile, true}}, .home = "/home/ada"},
                      [](const TierRuleProblem &problem) { ADD_FAILURE() << problem.text(); })
            .update();
    return rules;
}

std::vector<std::string> words(std::string_view text)
{
    std::vector<std::string> result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        result.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

RawPortInfo recordOf(const ShippedTierCase &listener)
{
    RawPortInfo record;
    record.pid = 4711;
    record.port = listener.port;
    record.processName = listener.process;
    record.commandPath = listener.executable;
    record.cwd = listener.directory;
    record.arguments = words(listener.command);
    return record;
}

std::string textOf(const ShippedTierCase &listener)
{
    const TierRule *const rule = shippedRules()->match(recordOf(listener));
    return std::string(listener.source) + ": " + std::string(listener.executable) + ", " +
           std::string(listener.command) + "; decided by line " +
           std::to_string(rule != nullptr ? rule->line : 0);
}

/// Who decides where no rule of the file holds.
PortTier tierOf(std::string_view executable, std::string_view directory, std::string_view command)
{
    const RawPortInfo record = recordOf({.source = {},
                                         .executable = executable,
                                         .process = executable.substr(executable.rfind('/') + 1),
                                         .directory = directory,
                                         .command = command,
                                         .port = 3000,
                                         .tier = {},
                                         .description = {}});
    return PortScanner::entries({&record, 1}, *shippedRules()).front().tier;
}

} // namespace

TEST(ShippedTiers, GiveRealListenersTheTierAndTheNameOfAPersonsChoice)
{
    for (const ShippedTierCase &listener : shippedTierCases()) {
        const RawPortInfo record = recordOf(listener);
        const PortEntry entry = PortScanner::entries({&record, 1}, *shippedRules()).front();
        EXPECT_EQ(rawValue(entry.tier), rawValue(listener.tier)) << textOf(listener);
        EXPECT_EQ(entry.description, listener.description) << textOf(listener);
    }
}

TEST(ShippedTiers, HaveAListenerForEachRule)
{
    const SharedTierRules rules = shippedRules();
    std::set<const TierRule *> decided;
    for (const ShippedTierCase &listener : shippedTierCases()) {
        decided.insert(rules->match(recordOf(listener)));
    }
    EXPECT_GT(rules->rules().size(), 100U);
    for (const TierRule &rule : rules->rules()) {
        EXPECT_TRUE(decided.contains(&rule))
            << "tests/Shared/ShippedTierCases.cpp has no listener for the rule in line "
            << rule.line << ' ' << rule.description;
    }
}

TEST(ShippedTiers, TellWhatAPersonStartedFromAServiceByTheWorkingDirectory)
{
    for (const char *directory :
         {"/home/ada", "/home/ada/shop", "/root", "/work/app", "/workspaces/shop", "/app", "/tmp/x",
          "/mnt/disk/shop", "/media/ada/stick", "/data", "/builds/shop"}) {
        EXPECT_EQ(tierOf("/usr/bin/node", directory, "node server.js"), PortTier::Dev) << directory;
        EXPECT_EQ(tierOf("/usr/lib/postgresql/17/bin/postgres", directory, "postgres -D ."),
                  PortTier::Dev)
            << directory;
        EXPECT_EQ(tierOf("/usr/bin/python3.13", directory, "python3 app.py"), PortTier::Dev)
            << directory;
    }
    for (const char *directory : {"/", "/var/lib/app", "/var/www/app", "/etc/app", "/usr/share/x",
                                  "/run/app", "/srv/app", "/opt/app", "/nonexistent", ""}) {
        EXPECT_EQ(tierOf("/usr/bin/node", directory, "node server.js"), PortTier::System)
            << directory;
        EXPECT_EQ(tierOf("/usr/lib/postgresql/17/bin/postgres", directory, "postgres -D ."),
                  PortTier::System)
            << directory;
        EXPECT_EQ(tierOf("/usr/bin/python3.13", directory, "python3 app.py"), PortTier::System)
            << directory;
    }
}

TEST(ShippedTiers, LeaveOtherProgramsToTheBuiltInRules)
{
    EXPECT_EQ(tierOf("/usr/bin/gnome-shell", "/home/ada", "gnome-shell"), PortTier::System);
    EXPECT_EQ(tierOf("/usr/sbin/chronyd", "/", "chronyd"), PortTier::System);
    EXPECT_EQ(tierOf("/home/ada/.cargo/bin/server", "/home/ada", "server"), PortTier::Dev);
    EXPECT_EQ(tierOf("/usr/local/bin/server", "/", "server"), PortTier::Dev);
    EXPECT_EQ(tierOf("/home/ada/Downloads/server", "/home/ada", "server"), PortTier::Unknown);
    EXPECT_EQ(tierOf("", "", ""), PortTier::Unknown);
}

TEST(ShippedTiers, LeaveEveryListenerToTheClassifierWhereNoneAreChosen)
{
    TierRuleFiles files(TierRuleSources::from({.chosen = "none",
                                               .home = "/home/ada",
                                               .configHome = {},
                                               .systemFolder = "/etc",
                                               .programFolder = "/usr/bin"}),
                        {});
    const SharedTierRules none = files.update();
    for (const ShippedTierCase &listener : shippedTierCases()) {
        const RawPortInfo record = recordOf(listener);
        const PortEntry entry = PortScanner::entries({&record, 1}, *none).front();
        const PortTier tier = ProcessClassifier::tier(record.commandPath);
        const auto [description, link] = ProcessClassifier::describe(record.processName, tier);
        EXPECT_EQ(rawValue(entry.tier), rawValue(tier)) << textOf(listener);
        EXPECT_EQ(entry.description, description) << textOf(listener);
        EXPECT_EQ(entry.settingsLink, link) << textOf(listener);
    }
}

TEST(ShippedTiers, TakeNoArgumentForWhatItOnlyResembles)
{
    EXPECT_EQ(tierOf("/usr/bin/node", "/", "node /srv/invite/server.js"), PortTier::System);
    EXPECT_EQ(tierOf("/usr/sbin/nginx", "/", "nginx: master process nginx -c /srv/vite/x.conf"),
              PortTier::System);
    EXPECT_EQ(tierOf("/usr/bin/python3.11", "/", "/usr/bin/python3 /usr/bin/fail2ban-server"),
              PortTier::System);
}

} // namespace Tarnwick
