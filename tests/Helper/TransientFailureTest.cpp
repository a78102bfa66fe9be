// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/OwnNetwork.h"

#include <cerrno>
#include <functional>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>

#include <sys/resource.h>

namespace Tarnwick {
namespace {

constexpr int noFilter = 125;

/// What is told while the system is short of something.
class TransientFailureTest : public InventoryFixture
{
protected:
    static inline const std::vector<int> shortages{EMFILE, ENFILE, ENOMEM, EINTR, EIO};

    /// Expects 0 of @p body, which fails system calls, in a process and network of its own: with
    /// few listeners there are few calls. Skips the test where no call can be made to fail.
    static void expectNoFailure(const std::function<int()> &body)
    {
        const int result = inOwnProcess([&body] {
            try {
                static_cast<void>(enterOwnNetwork());
                return body();
            } catch (const std::runtime_error &) {
                return noFilter;
            }
        });
        if (result == noFilter) {
            GTEST_SKIP() << "no filter of system calls to be had";
        }
        EXPECT_EQ(result, 0);
    }
};

TEST_F(TransientFailureTest, LeavesKnownOwnersWhatTheyWereWhicheverCallFails)
{
    expectNoFailure([] {
        Puppet server;
        const int port = server.listen().port;
        ListenerInventory inventory;
        const RawPortInfo before = only(list(inventory), port);
        if (before.pid != server.pid()) {
            return 1;
        }
        FailingCalls calls;
        for (const int code : shortages) {
            bool failed = true;
            constexpr unsigned enough = 300;
            for (unsigned skipped = 0; failed && skipped < enough; ++skipped) {
                calls.fail(skipped, code);
                const Records records = list(inventory);
                const std::optional<long> call = calls.stop();
                failed = call.has_value();
                RawPortInfo now = only(records, port);
                now.memoryBytes = before.memoryBytes;
                if (now != before) {
                    std::cerr << FailingCalls::name(call.value_or(-1)) << ", call " << skipped
                              << ", errno " << code << ": pid " << now.pid << " " << now.processName
                              << " " << now.commandPath << "\n";
                    return 2;
                }
            }
        }
        return 0;
    });
}

TEST_F(TransientFailureTest, KeepsOwnersWhenDescriptorsRunOutAndSaysSoOnce)
{
    const int result = inOwnProcess([] {
        Puppet server;
        const int port = server.listen().port;
        std::vector<std::string> lines;
        ListenerInventory::Options options;
        options.log = [&lines](std::string_view line) { lines.emplace_back(line); };
        ListenerInventory inventory(options);
        if (only(list(inventory), port).pid != server.pid()) {
            return 1;
        }
        const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        ::setrlimit(RLIMIT_NOFILE, &none);
        for (int listing = 0; listing < 5; ++listing) {
            if (only(list(inventory), port).pid != server.pid()) {
                return 2;
            }
        }
        const std::set<std::string> kinds(lines.begin(), lines.end());
        return lines.size() == kinds.size() ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(TransientFailureTest, RetriesAFirstListingInWhichACallFailed)
{
    expectNoFailure([] {
        Puppet server;
        const int port = server.listen().port;
        FailingCalls calls;
        for (const int code : {EMFILE, ENOMEM}) {
            bool failed = true;
            // Every one of a first listing's thousands would take minutes.
            for (unsigned skipped = 0; failed && skipped < 3000; skipped += 1 + skipped / 8) {
                ListenerInventory inventory;
                calls.fail(skipped, code);
                const Records records = list(inventory);
                const std::optional<long> call = calls.stop();
                failed = call.has_value();
                if (only(records, port).pid != server.pid()) {
                    std::cerr << FailingCalls::name(call.value_or(-1)) << ", call " << skipped
                              << ", errno " << code << "\n";
                    return 2;
                }
            }
        }
        return 0;
    });
}

TEST_F(TransientFailureTest, TakesNoOwnerForAnotherBecauseItCannotBeLookedAt)
{
    const int result = inOwnProcess([] {
        Puppet server;
        server.listen();
        ListenerInventory inventory;
        static_cast<void>(list(inventory));
        const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        ::setrlimit(RLIMIT_NOFILE, &none);
        const auto found = inventory.ownership(server.pid());
        const auto *ownership = std::get_if<Ownership>(&found);
        return ownership != nullptr && ownership->kind != Ownership::Kind::None ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
}

} // namespace
} // namespace Tarnwick
