// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "Helper/ProcessTerminator.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

/// The real inventory over the real kernel, and a look at what it says of a test's own listeners.
class InventoryFixture : public ::testing::Test
{
protected:
    using Records = std::vector<RawPortInfo>;

    [[nodiscard]] static Records list(ListenerInventory &inventory)
    {
        Listing listing = inventory.list();
        if (const auto *error = std::get_if<ListingError>(&listing)) {
            ADD_FAILURE() << error->message;
            return {};
        }
        return std::get<Records>(std::move(listing));
    }

    /// A listing with nothing remembered.
    [[nodiscard]] static Records coldList()
    {
        ListenerInventory inventory;
        return list(inventory);
    }

    [[nodiscard]] static Records on(const Records &records, int port)
    {
        Records found;
        std::copy_if(records.begin(), records.end(), std::back_inserter(found),
                     [port](const RawPortInfo &record) { return record.port == port; });
        return found;
    }

    /// The only record for @p port; an empty one, and a failure, when there is not just one.
    [[nodiscard]] static RawPortInfo only(const Records &records, int port)
    {
        Records found = on(records, port);
        EXPECT_EQ(found.size(), 1U) << "records on port " << port;
        return found.size() == 1 ? found.front() : RawPortInfo{};
    }

    /// The owner of the only listener on @p port, according to a warm and to a cold listing, which
    /// must agree.
    [[nodiscard]] std::int64_t owner(int port)
    {
        const std::int64_t warm = only(list(m_inventory), port).pid;
        EXPECT_EQ(only(coldList(), port).pid, warm) << "a cold listing differs from a warm one";
        return warm;
    }

    static constexpr ProcessTerminator::Patience impatient{
        .beforeForcing = std::chrono::milliseconds(100),
        .afterForcing = std::chrono::milliseconds(2000)};

    /// Ends the process that the latest listing of @p inventory reported as @p pid, for somebody
    /// who was shown that listing.
    static KillAnswer terminate(ListenerInventory &inventory, std::int32_t pid,
                                std::optional<std::int32_t> caller = std::nullopt)
    {
        ProcessTerminator terminator(inventory, impatient);
        const SharedProcessReport report = inventory.report();
        if (const ReportedProcess *reported = report->find(pid)) {
            return terminator.terminate(reported->process, caller);
        }
        const ProcessTerminator::Admitted admitted = terminator.admit(pid, nullptr, caller);
        const auto *code = std::get_if<KillResultCode>(&admitted);
        return code != nullptr ? KillAnswer(*code)
                               : KillAnswer(KillError{0, "admitted though not reported"});
    }

    /// The same after a listing.
    static KillAnswer listAndTerminate(ListenerInventory &inventory, std::int32_t pid,
                                       std::optional<std::int32_t> caller = std::nullopt)
    {
        static_cast<void>(list(inventory));
        return terminate(inventory, pid, caller);
    }

    /// The code of an answer; no code at all, and a failure, for an error.
    [[nodiscard]] static KillResultCode codeOf(const KillAnswer &answer)
    {
        if (const auto *error = std::get_if<KillError>(&answer)) {
            ADD_FAILURE() << error->message;
            return KillResultCode{-1};
        }
        return std::get<KillResultCode>(answer);
    }

    ListenerInventory m_inventory;
};

} // namespace Tarnwick
