// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitRequests.h"

#include <QStringList>

namespace Tarnwick::PackageKitRequests {

namespace {

// Sets of PkFilterEnum and PkTransactionFlagEnum in pk-enum.h: a bit for each value.
constexpr qulonglong everyPackage = 1U << 1U;
constexpr qulonglong installedPackages = 1U << 2U;
constexpr qulonglong onlyTrusted = 1U << 1U;

/// As pk_transaction_set_hints() of PackageKit has them.
QStringList hintsFor(bool isInteractive)
{
    if (isInteractive) {
        return {QStringLiteral("background=false"), QStringLiteral("interactive=true")};
    }
    return {QStringLiteral("background=true"), QStringLiteral("interactive=false"),
            QStringLiteral("cache-age=4294967295")};
}

} // namespace

Request searchFiles(const QString &file)
{
    return {.method = QStringLiteral("SearchFiles"),
            .arguments = {installedPackages, QStringList{file}},
            .hints = hintsFor(false)};
}

Request refreshCache()
{
    constexpr bool isForced = false;
    return {
        .method = QStringLiteral("RefreshCache"), .arguments = {isForced}, .hints = hintsFor(true)};
}

Request getUpdates(bool isInteractive)
{
    return {.method = QStringLiteral("GetUpdates"),
            .arguments = {everyPackage},
            .hints = hintsFor(isInteractive)};
}

Request getUpdateDetail(const QString &update, bool isInteractive)
{
    return {.method = QStringLiteral("GetUpdateDetail"),
            .arguments = {QStringList{update}},
            .hints = hintsFor(isInteractive)};
}

Request updatePackages(const QString &update)
{
    return {.method = QStringLiteral("UpdatePackages"),
            .arguments = {onlyTrusted, QStringList{update}},
            .hints = hintsFor(true)};
}

Request resolveInstalled(const QString &package)
{
    return {.method = QStringLiteral("Resolve"),
            .arguments = {installedPackages, QStringList{package}},
            .hints = hintsFor(true)};
}

} // namespace Tarnwick::PackageKitRequests
