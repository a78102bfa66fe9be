// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

/// A kill of which one system call fails: what it answers is what happened, and an answer that is
/// no success leaves the process alive.
class FailingKillTest : public InventoryFixture
{
protected:
    static constexpr int noFilter = 125;

    static bool isSuccess(const KillAnswer &answer)
    {
        const auto *code = std::get_if<KillResultCode>(&answer);
        return code != nullptr &&
               (*code == KillResultCode::Terminated || *code == KillResultCode::ForceKilled);
    }

    static bool isGone(const KillAnswer &answer)
    {
        const auto *code = std::get_if<KillResultCode>(&answer);
        return code != nullptr && *code == KillResultCode::NotFound;
    }

    /// Fails one call after the other, each in a kill of its own, until a kill makes no more. On a
    /// machine with many processes those behind the first hundreds are all alike, descriptors of
    /// other processes that are looked at, and each of them takes its time: of them only some fail,
    /// the fewer the more there are, and as many as fit into the time.
    static int failEachCall(int code)
    {
        std::optional<FailingCalls> calls;
        try {
            calls.emplace();
        } catch (const std::runtime_error &) {
            return noFilter;
        }
        ListenerInventory inventory;
        std::optional<Puppet> server;
        constexpr unsigned eachBelow = 300;
        constexpr unsigned share = 30;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (unsigned skipped = 0; std::chrono::steady_clock::now() < deadline;
             skipped += skipped < eachBelow ? 1 : skipped / share) {
            if (!server) {
                server.emplace();
                server->listen();
            }
            static_cast<void>(list(inventory));
            // No machine is so slow that a process which SIGTERM ends would have to be forced.
            ProcessTerminator terminator(inventory);
            const SharedProcessReport report = inventory.report();
            const ReportedProcess *reported = report->find(server->pid());
            if (reported == nullptr) {
                std::cerr << "not listed\n";
                return 1;
            }
            calls->fail(skipped, code);
            const KillAnswer answer = terminator.terminate(reported->process);
            const std::optional<long> failed = calls->stop();
            if (isSuccess(answer) != server->hasEnded() || isGone(answer)) {
                std::cerr << "call " << skipped << ", " << FailingCalls::name(failed.value_or(-1))
                          << ": false answer " << answer.index() << '\n';
                return 1;
            }
            if (!failed) {
                return isSuccess(answer) ? 0 : 1;
            }
            if (server->hasEnded()) {
                server.reset();
            }
        }
        return 0;
    }
};

TEST_F(FailingKillTest, AnswersTruly)
{
    for (const int code : {EMFILE, ENOMEM, EINTR, EIO, EACCES}) {
        const int result = inOwnProcess([code] { return failEachCall(code); });
        if (result == noFilter) {
            GTEST_SKIP() << "no system call can be made to fail here";
        }
        EXPECT_EQ(result, 0) << std::strerror(code);
    }
}

} // namespace
} // namespace Tarnwick
