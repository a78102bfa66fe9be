// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessAncestry.h"

#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace Tarnwick {

TEST(ProcessAncestry, NamesTheParentFirst)
{
    Puppet parent;
    const Puppet child = parent.fork();
    const std::vector<Ancestor> found = ancestors(child.pid());
    ASSERT_GE(found.size(), 2U);
    EXPECT_EQ(found[0].pid, parent.pid());
    EXPECT_EQ(found[1].pid, getpid());
}

TEST(ProcessAncestry, RecognisesAShellByItsName)
{
    Puppet parent;
    const Puppet child = parent.fork();
    EXPECT_FALSE(ancestors(child.pid()).at(0).isShell);
    for (const char *shell : {"sh", "bash", "zsh", "fish"}) {
        parent.rename(shell);
        EXPECT_TRUE(ancestors(child.pid()).at(0).isShell) << shell;
    }
    parent.rename("shop");
    EXPECT_FALSE(ancestors(child.pid()).at(0).isShell);
}

TEST(ProcessAncestry, KnowsWhetherTheProcessesShareAGroup)
{
    const int wrong = inOwnProcess([] {
        const bool didShare = ancestors(getpid()).at(0).sharesGroup;
        setpgid(0, 0);
        return didShare && !ancestors(getpid()).at(0).sharesGroup ? 0 : 1;
    });
    EXPECT_EQ(wrong, 0);
}

TEST(ProcessAncestry, KnowsNoneOfAProcessThatHasEnded)
{
    Puppet puppet;
    puppet.end();
    EXPECT_TRUE(ancestors(puppet.pid()).empty());
    EXPECT_TRUE(ancestors(0).empty());
    EXPECT_TRUE(ancestors(-1).empty());
}

} // namespace Tarnwick
