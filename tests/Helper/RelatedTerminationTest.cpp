// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "Helper/ProcessTree.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include <unistd.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

struct RelatedTerminationTest : testing::Test
{
    ListenerInventory inventory;
    ProcessTerminator terminator{inventory,
                                 {.beforeForcing = std::chrono::milliseconds(50),
                                  .afterForcing = std::chrono::milliseconds(5000)}};

    static ProcessIdentity identityOf(std::int32_t pid)
    {
        const ProcessTree tree = ProcessTree::read();
        const TreeProcess *const found = tree.find(pid);
        return found != nullptr ? found->identity : ProcessIdentity{.pid = pid};
    }

    std::vector<KillAnswer> end(const std::vector<ProcessIdentity> &processes)
    {
        return terminator.terminateRelated(processes);
    }

    /// The codes of answers that are none of errors, -1 for those.
    static std::vector<int> codes(const std::vector<KillAnswer> &answers)
    {
        std::vector<int> found;
        for (const KillAnswer &answer : answers) {
            const auto *code = std::get_if<KillResultCode>(&answer);
            found.push_back(code != nullptr ? static_cast<int>(*code) : -1);
        }
        return found;
    }
};

constexpr int terminated = static_cast<int>(KillResultCode::Terminated);
constexpr int forced = static_cast<int>(KillResultCode::ForceKilled);
constexpr int denied = static_cast<int>(KillResultCode::PermissionDenied);
constexpr int notFound = static_cast<int>(KillResultCode::NotFound);

} // namespace

TEST_F(RelatedTerminationTest, EndsProcessesThatListenOnNothing)
{
    const Puppet first;
    Puppet second;
    second.ignoreSignal(SIGTERM);
    EXPECT_THAT(codes(end({identityOf(first.pid()), identityOf(second.pid())})),
                ElementsAre(terminated, forced));
    EXPECT_TRUE(first.hasEnded());
    EXPECT_TRUE(second.hasEnded());
}

TEST_F(RelatedTerminationTest, LeavesAProcessAloneThatHasTheIdentifierOfAnother)
{
    const Puppet puppet;
    ProcessIdentity other = identityOf(puppet.pid());
    other.startTicks += 1;
    other.inode += other.inode != 0 ? 1U : 0U;
    EXPECT_THAT(codes(end({other})), ElementsAre(notFound));
    EXPECT_FALSE(puppet.hasEnded());
}

TEST_F(RelatedTerminationTest, FindsNoProcessThatHasEnded)
{
    Puppet puppet;
    const ProcessIdentity identity = identityOf(puppet.pid());
    puppet.end();
    EXPECT_THAT(codes(end({identity})), ElementsAre(notFound));
}

TEST_F(RelatedTerminationTest, RefusesWhatTheCommandLivesIn)
{
    EXPECT_THAT(codes(end({identityOf(::getpid())})), ElementsAre(denied));
    const int code = inOwnProcess([this] {
        const std::vector<KillAnswer> answers = end({identityOf(::getppid())});
        return codes(answers) == std::vector{denied} ? 0 : 1;
    });
    EXPECT_EQ(code, 0);
}

TEST_F(RelatedTerminationTest, WakesAStoppedProcess)
{
    Puppet puppet;
    puppet.stop();
    EXPECT_THAT(codes(end({identityOf(puppet.pid())})), ElementsAre(terminated));
}

} // namespace Tarnwick
