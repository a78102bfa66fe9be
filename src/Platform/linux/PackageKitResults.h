// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Updater.h"
#include "Platform/linux/PackageKitTransaction.h"

#include <QString>

#include <filesystem>
#include <string>

/// What the answers of PackageKit mean for one package, in words for the user. A package
/// identifier is PackageKit's: "name;version;architecture;origin".
namespace Tarnwick::PackageKitResults {

using Outcome = PackageKitTransaction::Outcome;
using Package = PackageKitTransaction::Package;

[[nodiscard]] QString nameIn(const QString &packageId);
[[nodiscard]] QString versionIn(const QString &packageId);

/// The update of @p package among those of @p updates that the system would install, or among
/// those that it holds back; null when there is none. It points into @p updates.
enum class Choice : std::uint8_t { Installable, HeldBack };
[[nodiscard]] const Package *updateOf(const QString &package, const Outcome &updates,
                                      Choice choice);

/// Whether @p installed holds the version of @p update.
[[nodiscard]] bool isInstalled(const QString &update, const Outcome &installed);

[[nodiscard]] UpdateResult failed(const std::string &words);
/// With what @p details say is new.
[[nodiscard]] UpdateResult available(const QString &update, const Outcome &details);
[[nodiscard]] UpdateResult held(const QString &update);
[[nodiscard]] UpdateResult installed(const QString &update);

/// No package holds @p executable.
[[nodiscard]] UpdateResult notPackaged(const std::filesystem::path &executable);
/// It could not be found out which package holds the executable, because of @p failure.
[[nodiscard]] UpdateResult unavailable(const std::string &failure);

/// @p result, found in package lists that could not be refreshed because of @p refusal.
[[nodiscard]] UpdateResult withOldLists(UpdateResult result, const std::string &refusal);

} // namespace Tarnwick::PackageKitResults
