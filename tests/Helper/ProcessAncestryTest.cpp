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

TEST(ProcessAncestry, NamesEachAsTheKernelHasIt)
{
    Puppet parent;
    const Puppet child = parent.fork();
    parent.rename("shop-server");
    EXPECT_EQ(ancestors(child.pid()).at(0).name, "shop-server");
    parent.rename("a\xFF");
    EXPECT_EQ(ancestors(child.pid()).at(0).name, "a\xEF\xBF\xBD");
}

TEST(ProcessAncestry, ReadsEachProcessOnceForSeveral)
{
    Puppet parent;
    const Puppet first = parent.fork();
    const Puppet second = parent.fork();
    AncestryReader reader;
    parent.rename("before");
    EXPECT_EQ(reader.ancestors(first.pid()).at(0).name, "before");
    parent.rename("after");
    EXPECT_EQ(reader.ancestors(second.pid()).at(0).name, "before");
    EXPECT_EQ(reader.ancestors(second.pid()).at(1).pid, getpid());
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
