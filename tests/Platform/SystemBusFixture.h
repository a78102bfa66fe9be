// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/PackageKitUpdater.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTimeZone>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Updaters on a bus of the test's own, which they take for the machine's. There is one for the
/// process, since its address stands in the environment, and it is started anew for each test.
class SystemBusFixture : public testing::Test
{
protected:
    /// What one updater has told.
    struct Told
    {
        bool isFound = false;
        std::vector<bool> canCheck;
        std::vector<UpdateResult> results;
    };

    SystemBusFixture() { bus().start(); }
    ~SystemBusFixture() override { bus().stop(); }

    static PrivateBus &bus()
    {
        static PrivateBus bus({.letsEveryUserIn = true, .configuration = {}});
        static const ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
        return bus;
    }

    [[nodiscard]] std::unique_ptr<PackageKitUpdater> makeUpdater(const std::string &executable)
    {
        return std::make_unique<PackageKitUpdater>(
            PackageKitUpdater::Setup{.executable = executable,
                                     .settings = m_folder.path() / "updater.conf",
                                     .now = [this] { return m_now; },
                                     .patience = m_patience});
    }

    [[nodiscard]] static Updater::Handlers handlersFor(Told &told)
    {
        return {.found = [&told] { told.isFound = true; },
                .canCheckForUpdates = [&told](bool can) { told.canCheck.push_back(can); },
                .ended = [&told](const UpdateResult &result) { told.results.push_back(result); }};
    }

    /// The next result after those that were there.
    [[nodiscard]] static std::optional<UpdateResult> nextResult(const Told &told, std::size_t had)
    {
        return await([&told, had] { return told.results.size() > had; })
                   ? std::optional(told.results.back())
                   : std::nullopt;
    }

    TemporaryFolder m_folder;
    PackageKitUpdater::Patience m_patience; ///< of updaters that are made from then on
    QDateTime m_now{QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc()};
};

} // namespace Tarnwick
