// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/FailingCalls.h"

#include "tests/Support/OtherUser.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <stdexcept>

#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

constexpr int noFilter = 125;
constexpr std::array<long, 1> watched{SYS_getpgid};

int withFailingCalls(int (*body)(FailingCalls &))
{
    return inOwnProcess([body] {
        try {
            FailingCalls calls(watched);
            return body(calls);
        } catch (const std::runtime_error &) {
            return noFilter;
        }
    });
}

/// Which of the next three calls fail, as bits.
int failuresOfThree()
{
    int failures = 0;
    for (const int bit : {1, 2, 4}) {
        errno = 0;
        const bool failed = ::syscall(SYS_getpgid, 0) < 0 && errno == EMFILE;
        failures |= failed ? bit : 0;
    }
    return failures;
}

TEST(FailingCallsTest, FailsTheCallAfterThoseThatItSkipsOnce)
{
    const int failures = withFailingCalls([](FailingCalls &calls) {
        calls.fail(1, EMFILE);
        const int failed = failuresOfThree();
        return calls.stop() == SYS_getpgid ? failed : 0;
    });
    if (failures == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(failures, 2);
}

TEST(FailingCallsTest, FailsEachCallOfOneNumberUntilItIsStopped)
{
    const int failures = withFailingCalls([](FailingCalls &calls) {
        calls.failEach(SYS_getpgid, EMFILE);
        const int failed = failuresOfThree();
        static_cast<void>(calls.stop());
        return failed | (failuresOfThree() << 3);
    });
    if (failures == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(failures, 7);
}

TEST(FailingCallsTest, LetsTheCallsOfAChildThroughAndDoesNotCountThem)
{
    const int failures = withFailingCalls([](FailingCalls &calls) {
        calls.fail(1, EMFILE);
        const int ofChild = inOwnProcess(failuresOfThree);
        const int own = failuresOfThree();
        return calls.stop() == SYS_getpgid ? ofChild | (own << 3) : 0;
    });
    if (failures == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(failures, 2 << 3);
}

} // namespace
} // namespace Tarnwick
