// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerInventory.h"
#include "Helper/ProcessTerminator.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

constexpr int noNamespace = 125;
constexpr int noFilter = 124;

/// What becomes of a listing and of a kill when any one of their system calls fails. In namespaces
/// of its own, where little else is to be listed, so that all calls can be tried.
class EveryCallFailsOnce : public ::testing::TestWithParam<int>
{
protected:
    using Records = std::vector<RawPortInfo>;

    /// Runs @p body in a process of those namespaces.
    static void run(const std::function<int()> &body)
    {
        const int result = inOwnProcess([&body] {
            if (::unshare(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWNET) != 0 ||
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
                return noNamespace;
            }
            // Process 1, which no signal of ours would end.
            return inOwnProcess([&body] {
                return ::mount("proc", "/proc", "proc", 0, nullptr) != 0 ? noNamespace : body();
            });
        });
        if (result == noNamespace) {
            GTEST_SKIP() << "no namespaces of processes to be had";
        }
        if (result == noFilter) {
            GTEST_SKIP() << "no notifications of system calls to be had";
        }
        EXPECT_EQ(result, 0) << "127 is for a crash, or for a minute without an end";
    }

    /// Runs @p part in a process of its own, which ends within a minute.
    static int inBoundedProcess(const std::function<int()> &part)
    {
        constexpr unsigned seconds = 60;
        const int result = inOwnProcess([&part] {
            ::alarm(seconds);
            return part();
        });
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
            // What the part has left to process 1.
        }
        return result;
    }

    /// For as long as the process lives: a filter cannot be removed. Null where there is none.
    static FailingCalls *failingCalls()
    {
        try {
            return std::make_unique<FailingCalls>().release();
        } catch (const std::runtime_error &) {
            return nullptr;
        }
    }

    static std::string description(std::optional<long> call, unsigned skipped)
    {
        return (call ? FailingCalls::name(*call) : "no call") + " after " +
               std::to_string(skipped) + " others, " + std::strerror(GetParam());
    }

    /// Whether @p listing has each of @p servers under its port; or where @p mayBeUnknown, some of
    /// them without owner.
    static bool isTrue(const Records &records, const std::vector<Puppet> &servers,
                       const std::vector<int> &ports, bool mayBeUnknown)
    {
        for (std::size_t at = 0; at < servers.size(); ++at) {
            const auto found = std::find_if(
                records.begin(), records.end(),
                [&ports, at](const RawPortInfo &record) { return record.port == ports[at]; });
            if (found == records.end() ||
                (found->pid != servers[at].pid() && !(mayBeUnknown && found->pid == 0))) {
                return false;
            }
        }
        return true;
    }
};

/// Servers that listen, never destroyed: when they would be, calls fail.
struct Servers
{
    explicit Servers(std::size_t count)
        : processes(count)
    {
        for (Puppet &server : processes) {
            ports.push_back(server.listen().port);
        }
    }

    std::vector<Puppet> processes;
    std::vector<int> ports;
};

TEST_P(EveryCallFailsOnce, InAListing)
{
    const auto listings = [] {
        auto &servers = *std::make_unique<Servers>(3).release();
        FailingCalls *const calls = failingCalls();
        if (calls == nullptr) {
            return noFilter;
        }
        const auto isTrueOf = [&servers](const Listing &listing, bool mayBeUnknown) {
            const auto *records = std::get_if<Records>(&listing);
            return records != nullptr
                       ? isTrue(*records, servers.processes, servers.ports, mayBeUnknown)
                       : mayBeUnknown && std::get<ListingError>(listing).code != 0;
        };
        for (const bool isFirst : {true, false}) {
            std::optional<long> failed = 0;
            for (unsigned skipped = 0; failed; ++skipped) {
                ListenerInventory inventory;
                if (!isFirst) {
                    static_cast<void>(inventory.list());
                }
                calls->fail(skipped, GetParam());
                const Listing listing = inventory.list();
                failed = calls->stop();
                EXPECT_TRUE(isTrueOf(listing, failed.has_value())) << description(failed, skipped);
                // A denial is no shortage that passes: who is looked into once more, and when,
                // is as for any owner that stays unknown.
                EXPECT_TRUE(isTrueOf(inventory.list(), GetParam() == EACCES))
                    << "the next listing after " << description(failed, skipped);
            }
        }
        return HasFailure() ? 1 : 0;
    };
    run([&listings] { return inBoundedProcess(listings); });
}

TEST_P(EveryCallFailsOnce, InAKill)
{
    static constexpr unsigned atOnce = 20;
    static constexpr int passed = 2;
    const auto kills = [](unsigned skipped) {
        auto &servers = *std::make_unique<Servers>(atOnce).release();
        FailingCalls *const calls = failingCalls();
        if (calls == nullptr) {
            return noFilter;
        }
        ListenerInventory inventory;
        static_cast<void>(inventory.list());
        ProcessTerminator terminator(inventory);
        for (const Puppet &server : servers.processes) {
            calls->fail(skipped, GetParam());
            const KillAnswer answer =
                terminator.terminate(inventory.report()->find(server.pid())->process);
            const std::optional<long> failed = calls->stop();
            const auto *code = std::get_if<KillResultCode>(&answer);
            const bool saysEnded = code != nullptr && *code != KillResultCode::PermissionDenied;
            EXPECT_EQ(server.hasEnded(), saysEnded)
                << (code != nullptr ? static_cast<int>(*code) : -1) << ", "
                << description(failed, skipped);
            if (!failed) {
                EXPECT_TRUE(code != nullptr && *code == KillResultCode::Terminated);
                return HasFailure() ? 1 : passed;
            }
            ++skipped;
        }
        return HasFailure() ? 1 : 0;
    };
    run([&kills] {
        int result = 0;
        for (unsigned skipped = 0; result == 0; skipped += atOnce) {
            result = inBoundedProcess([&kills, skipped] { return kills(skipped); });
        }
        return result == passed ? 0 : result;
    });
}

INSTANTIATE_TEST_SUITE_P(WithEachError, EveryCallFailsOnce,
                         ::testing::Values(EMFILE, ENOMEM, EINTR, EIO, EACCES));

} // namespace
} // namespace Tarnwick
