// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/ProcessClassifier.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

using namespace Tarnwick;

namespace {

using Description = ProcessClassifier::Description;

struct PathCase
{
    std::string_view path;
    PortTier tier;
};

template<std::size_t size>
void expectTiers(const std::array<PathCase, size> &cases)
{
    for (const PathCase &expected : cases) {
        EXPECT_EQ(rawValue(ProcessClassifier::tier(expected.path)), rawValue(expected.tier))
            << expected.path;
    }
}

} // namespace

TEST(ProcessClassifier, PutsTheSystemsFoldersIntoTheSystemTier)
{
    expectTiers(std::array<PathCase, 7>{{
        {"/System/Library/CoreServices/ControlCenter", PortTier::System},
        {"/usr/libexec/rapportd", PortTier::System},
        {"/usr/sbin/cupsd", PortTier::System},
        {"/usr/bin/python3", PortTier::System},
        {"/sbin/init", PortTier::System},
        {"/bin/busybox", PortTier::System},
        {"/Library/Apple/usr/bin/tool", PortTier::System},
    }});
}

TEST(ProcessClassifier, PutsApplicationsIntoTheAppTier)
{
    expectTiers(std::array<PathCase, 3>{{
        {"/Applications/Browser.app/Contents/MacOS/Browser", PortTier::App},
        {"/home/ann/Applications/editor", PortTier::App},
        {"/Library/Application Support/Vendor/agent", PortTier::App},
    }});
}

TEST(ProcessClassifier, PutsANodeFromNvmIntoTheDevTier)
{
    EXPECT_EQ(ProcessClassifier::tier("/home/ann/.nvm/versions/node/v20/bin/node"), PortTier::Dev);
}

TEST(ProcessClassifier, PutsEveryToolChainIntoTheDevTier)
{
    expectTiers(std::array<PathCase, 12>{{
        {"/home/ann/.nvm/bin/node", PortTier::Dev},
        {"/home/ann/.pyenv/shims/python", PortTier::Dev},
        {"/home/ann/.rbenv/shims/ruby", PortTier::Dev},
        {"/home/ann/.cargo/bin/miniserve", PortTier::Dev},
        {"/home/ann/.asdf/installs/erlang/beam.smp", PortTier::Dev},
        {"/home/ann/mise/installs/ruby/bin/ruby", PortTier::Dev},
        {"/srv/homebrew/bin/redis-server", PortTier::Dev},
        {"/opt/homebrew/opt/postgresql/bin/postgres", PortTier::Dev},
        {"/opt/local/bin/nginx", PortTier::Dev},
        {"/usr/local/bin/node", PortTier::Dev},
        {"/home/ann/.local/share/tool/server", PortTier::Dev},
        {"/home/ann/.local/bin/server", PortTier::Dev},
    }});
}

TEST(ProcessClassifier, PutsAnythingElseIntoTheUnknownTier)
{
    expectTiers(std::array<PathCase, 5>{{
        {"", PortTier::Unknown},
        {"/", PortTier::Unknown},
        {"/home/ann/work/server", PortTier::Unknown},
        {"node", PortTier::Unknown},
        {"/opt/vendor/bin/server", PortTier::Unknown},
    }});
}

TEST(ProcessClassifier, TellsCasesApart)
{
    expectTiers(std::array<PathCase, 4>{{
        {"/system/Library/ControlCenter", PortTier::Unknown},
        {"/APPLICATIONS/Browser", PortTier::Unknown},
        {"/applications/Browser", PortTier::Unknown},
        {"/home/ann/.NVM/bin/node", PortTier::Unknown},
    }});
}

TEST(ProcessClassifier, WantsASystemFolderAtTheStartOfThePath)
{
    expectTiers(std::array<PathCase, 5>{{
        {"/home/ann/System/tool", PortTier::Unknown},
        {"/srv/usr/bin/tool", PortTier::Unknown},
        {"/srv/Library/Application Support/tool", PortTier::Unknown},
        {"/srv/usr/local/bin/tool", PortTier::Unknown},
        {"/srv/opt/local/tool", PortTier::Unknown},
    }});
}

TEST(ProcessClassifier, WantsWholeFolderNames)
{
    expectTiers(std::array<PathCase, 5>{{
        {"/usr/binary/tool", PortTier::Unknown},
        {"/usr/bin", PortTier::Unknown},
        {"/srv/promise/tool", PortTier::Unknown},
        {"/srv/MyApplications/tool", PortTier::Unknown},
        {"/srv/x.nvm/tool", PortTier::Unknown},
    }});
}

TEST(ProcessClassifier, LetsTheFirstRuleDecide)
{
    expectTiers(std::array<PathCase, 5>{{
        {"/System/Applications/Mail.app/Contents/MacOS/Mail", PortTier::System},
        {"/usr/bin/homebrew/tool", PortTier::System},
        {"/opt/homebrew/Applications/tool", PortTier::App},
        {"/home/ann/.local/share/Applications/tool", PortTier::App},
        {"/usr/local/Applications/tool", PortTier::App},
    }});
}

TEST(ProcessClassifier, DescribesTheServicesOfTheSystem)
{
    using Case = std::pair<std::string_view, Description>;
    const std::array<Case, 8> cases{{
        {"ControlCenter", {"AirPlay Receiver", "AirDrop & Handoff"}},
        {"cupsd", {"Print Spooler", std::nullopt}},
        {"rapportd", {"Handoff / Sidecar", std::nullopt}},
        {"sharingd", {"Sharing Services", "Sharing"}},
        {"useractivityd", {"Handoff", std::nullopt}},
        {"identityservicesd", {"iMessage / FaceTime", std::nullopt}},
        {"nehelper", {"Network Extension", std::nullopt}},
        {"remoted", {"Remote Management", std::nullopt}},
    }};
    for (const auto &[name, description] : cases) {
        EXPECT_EQ(ProcessClassifier::describe(name, PortTier::System), description) << name;
    }
}

TEST(ProcessClassifier, DescribesTheServersOfDevelopers)
{
    using Case = std::pair<std::string_view, std::string_view>;
    constexpr std::array<Case, 18> cases{{
        {"node", "Node.js"},
        {"deno", "Deno"},
        {"bun", "Bun"},
        {"postgres", "PostgreSQL"},
        {"redis-server", "Redis"},
        {"valkey-server", "Valkey"},
        {"python", "Python"},
        {"python3", "Python"},
        {"ruby", "Ruby"},
        {"beam.smp", "Erlang/Elixir"},
        {"java", "Java"},
        {"mongod", "MongoDB"},
        {"mysqld", "MySQL"},
        {"nginx", "Nginx"},
        {"httpd", "Apache"},
        {"caddy", "Caddy"},
        {"php", "PHP"},
        {"go", "Go"},
    }};
    for (const auto &[name, description] : cases) {
        EXPECT_EQ(ProcessClassifier::describe(name, PortTier::Dev),
                  (Description{std::string(description), std::nullopt}))
            << name;
    }
}

TEST(ProcessClassifier, AsksEachTableForItsOwnTierOnly)
{
    for (const PortTier tier : allPortTiers) {
        if (tier != PortTier::Dev) {
            EXPECT_EQ(ProcessClassifier::describe("node", tier),
                      (Description{"node", std::nullopt}));
        }
        if (tier != PortTier::System) {
            EXPECT_EQ(ProcessClassifier::describe("sharingd", tier),
                      (Description{"sharingd", std::nullopt}));
        }
    }
}

TEST(ProcessClassifier, DescribesAnUnknownNameByItself)
{
    for (const PortTier tier : allPortTiers) {
        for (const std::string_view name : {"", "Node", "node ", "nod", "zzz", "AAA", "Cupsd"}) {
            EXPECT_EQ(ProcessClassifier::describe(name, tier),
                      (Description{std::string(name), std::nullopt}));
        }
    }
}
