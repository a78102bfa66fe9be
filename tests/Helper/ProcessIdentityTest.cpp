// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessIdentification.h"

#include "tests/Helper/ReusedIdentifier.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

namespace Tarnwick {
namespace {

using Means = ProcessIdentification::Means;

/// By the kernel's inode numbers of processes, where it has them, and by start times.
class ProcessIdentityTest : public ::testing::TestWithParam<Means>
{
protected:
    [[nodiscard]] std::optional<ProcessIdentity> identityOf(pid_t pid) const
    {
        const FileDescriptor directory = ProcFs::openProcess(m_root.get(), pid);
        return directory ? ProcessIdentification::of(directory.get(), pid, ProcFs::Numbering::Own,
                                                     GetParam())
                         : std::nullopt;
    }

    FileDescriptor m_root = ProcFs::openRoot();
};

TEST_P(ProcessIdentityTest, IsThatOfTheProcessForAsLongAsItLives)
{
    const Puppet puppet;
    const std::optional<ProcessIdentity> first = identityOf(puppet.pid());
    ASSERT_TRUE(first.has_value());
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(30)) {
        const std::optional<ProcessIdentity> later = identityOf(puppet.pid());
        ASSERT_TRUE(later.has_value());
        ASSERT_TRUE(isSameProcess(*first, *later));
    }
}

TEST_P(ProcessIdentityTest, IsNotThatOfAnotherProcess)
{
    const Puppet one;
    const Puppet other;
    const std::optional<ProcessIdentity> first = identityOf(one.pid());
    const std::optional<ProcessIdentity> second = identityOf(other.pid());
    ASSERT_TRUE(first && second);
    EXPECT_FALSE(isSameProcess(*first, *second));
}

TEST_P(ProcessIdentityTest, IsNotThatOfAProcessWhichGotTheIdentifierAtOnce)
{
    constexpr int rounds = 200;
    auto puppet = std::make_optional<Puppet>();
    const pid_t pid = puppet->pid();
    puppet.reset();
    int withinATick = 0;
    for (int round = 0; round < rounds; ++round) {
        auto one = std::make_unique<ReusedIdentifier>(pid, false);
        if (!*one) {
            GTEST_SKIP() << "an identifier can be chosen only with privilege";
        }
        const std::optional<ProcessIdentity> first = identityOf(pid);
        one.reset();
        const ReusedIdentifier other(pid, false);
        const std::optional<ProcessIdentity> second = identityOf(pid);
        ASSERT_TRUE(first && second);
        withinATick += first->startTicks == second->startTicks ? 1 : 0;
        ASSERT_FALSE(isSameProcess(*first, *second)) << round;
    }
    RecordProperty("within_a_tick", withinATick);
}

INSTANTIATE_TEST_SUITE_P(Means, ProcessIdentityTest,
                         ::testing::Values(Means::Pidfs, Means::StartTick), [](const auto &means) {
                             return means.param == Means::Pidfs ? "Pidfs" : "StartTick";
                         });

TEST(ProcessIdentityTest, IsProvedByTheStartOnceTheProcessWasSeenInALaterTick)
{
    ProcessIdentity young{.pid = 4711, .startTicks = 100};
    ProcessIdentification::confirm(young, 100);
    EXPECT_FALSE(isSameProcess(young, young)) << "another may have started in the same tick";
    ProcessIdentification::confirm(young, 101);
    EXPECT_TRUE(isSameProcess(young, young));
    ProcessIdentity later = young;
    later.startTicks = 102;
    EXPECT_FALSE(isSameProcess(young, later));
}

} // namespace
} // namespace Tarnwick
