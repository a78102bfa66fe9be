// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessChildren.h"

#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using Source = ProcessChildren::Source;

/// The same from each source.
class ProcessChildrenTest : public ::testing::TestWithParam<Source>
{
protected:
    [[nodiscard]] std::vector<pid_t> childrenOf(pid_t pid)
    {
        m_children.beginListing();
        std::vector<pid_t> found;
        for (const ProcessChildren::Child &child : m_children.read(pid).first) {
            found.push_back(child.pid);
        }
        return found;
    }

    const FileDescriptor m_root = ProcFs::openRoot();
    ProcessChildren m_children{m_root.get(), ProcFs::numbering(m_root.get()), GetParam()};
};

TEST_P(ProcessChildrenTest, AreTheProcessesThatItHasForked)
{
    Puppet parent;
    EXPECT_TRUE(childrenOf(parent.pid()).empty());
    const Puppet first = parent.fork();
    EXPECT_EQ(childrenOf(parent.pid()), std::vector<pid_t>{first.pid()});
    EXPECT_TRUE(m_children.isChild(first.pid(), parent.pid()));
    EXPECT_FALSE(m_children.isChild(parent.pid(), first.pid()));
    const Puppet second = parent.fork();
    const Puppet third = parent.fork();
    EXPECT_EQ(childrenOf(parent.pid()).size(), 2U) << "of three, for two are several";
}

TEST_P(ProcessChildrenTest, AreNoZombies)
{
    Puppet parent;
    for (int count = 0; count < 3; ++count) {
        const pid_t zombie = parent.makeZombie();
        EXPECT_FALSE(m_children.isChild(zombie, parent.pid()));
    }
    EXPECT_TRUE(childrenOf(parent.pid()).empty());
    const Puppet child = parent.fork();
    EXPECT_EQ(childrenOf(parent.pid()), std::vector<pid_t>{child.pid()});
}

TEST_P(ProcessChildrenTest, MayBeAnotherThreads)
{
    // A fork in a thread other than the main one, which lives for as long as the child.
    const int result = inOwnProcess([this] {
        int children = 0;
        std::thread([&] {
            const Puppet child;
            children = static_cast<int>(childrenOf(::getpid()).size());
        }).join();
        return children;
    });
    EXPECT_EQ(result, 1);
}

TEST_P(ProcessChildrenTest, AreNoneOfAProcessThatIsNotThere)
{
    EXPECT_TRUE(childrenOf(2147483647).empty());
    EXPECT_FALSE(m_children.isChild(2147483647, ::getpid()));
    EXPECT_EQ(m_children.listOfMainThread(2147483647), "");
}

INSTANTIATE_TEST_SUITE_P(FromEachSource, ProcessChildrenTest,
                         ::testing::Values(Source::ThreadLists, Source::Parents));

} // namespace
} // namespace Tarnwick
