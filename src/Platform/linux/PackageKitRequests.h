// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/PackageKitTransaction.h"

#include <QString>

/// What is asked of PackageKit, as its interface has it. A request that is interactive may ask the
/// user for a password; the others run in the background with what the system knows already.
namespace Tarnwick::PackageKitRequests {

using Request = PackageKitTransaction::Request;

/// The installed package that holds @p file.
[[nodiscard]] Request searchFiles(const QString &file);

/// Fetches the lists of packages, for the user.
[[nodiscard]] Request refreshCache();

/// All updates there are.
[[nodiscard]] Request getUpdates(bool isInteractive);

/// The texts of @p update.
[[nodiscard]] Request getUpdateDetail(const QString &update, bool isInteractive);

/// Installs @p update, for the user, if it comes from where the system trusts.
[[nodiscard]] Request updatePackages(const QString &update);

/// What is installed of @p package.
[[nodiscard]] Request resolveInstalled(const QString &package);

} // namespace Tarnwick::PackageKitRequests
