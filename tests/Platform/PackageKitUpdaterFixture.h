// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Platform/PackageKitStandIn.h"
#include "tests/Platform/SystemBusFixture.h"

#include <memory>
#include <optional>

namespace Tarnwick {

inline const QString ownPackage = QStringLiteral("tarnwick;1.2.0;amd64;installed");
inline const QString update = QStringLiteral("tarnwick;1.3.0;amd64;main");
// How grave an update is, and below it what it is.
inline constexpr unsigned normal = 0x50005;
inline const QString updatedPackage = QStringLiteral("tarnwick;1.3.0;amd64;installed");

/// An updater whose package the stand-in for PackageKit knows, with automatic checks switched off.
class PackageKitUpdaterFixture : public SystemBusFixture
{
protected:
    PackageKitUpdaterFixture()
    {
        m_kit.emplace(bus().address());
        m_kit->scripts["SearchFiles"].packages = {{1, ownPackage}};
        m_kit->scripts["Resolve"].packages = {{1, updatedPackage}};
        m_updater = makeUpdater("/usr/bin/tarnwick");
        m_updater->setAutomaticallyChecksForUpdates(false);
    }

    void start()
    {
        m_updater->start(handlersFor(m_told));
        ASSERT_TRUE(await([this] { return m_told.isFound; }));
    }

    void offerUpdate()
    {
        m_kit->scripts["GetUpdates"].packages = {
            {normal, QStringLiteral("tarnwick-data;1.3.0;all;main")}, {normal, update}};
    }

    /// What the user's check comes to.
    [[nodiscard]] std::optional<UpdateResult> check()
    {
        const std::size_t had = m_told.results.size();
        m_updater->checkForUpdates();
        return nextResult(m_told, had);
    }

    /// Makes the automatic check and awaits its end.
    void checkByItself()
    {
        const std::size_t had = m_told.canCheck.size();
        m_updater->setAutomaticallyChecksForUpdates(true);
        m_now = m_now.addDays(1);
        m_updater->checkIfDue();
        ASSERT_TRUE(await([this, had] { return m_told.canCheck.size() >= had + 2; }));
    }

    [[nodiscard]] std::optional<UpdateResult> install()
    {
        const std::size_t had = m_told.results.size();
        m_updater->installUpdate();
        return nextResult(m_told, had);
    }

    /// Whether another updater finds its package, as late as one that began to look before.
    [[nodiscard]] bool isAnotherOneFound()
    {
        Told told;
        const auto other = makeUpdater("/usr/bin/tarnwick");
        other->start(handlersFor(told));
        return await([&told] { return told.isFound; });
    }

    std::optional<PackageKitStandIn> m_kit;
    std::unique_ptr<PackageKitUpdater> m_updater;
    Told m_told;
};

} // namespace Tarnwick
