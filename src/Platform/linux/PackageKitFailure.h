// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <string>

/// What a D-Bus error means when it is the answer to a request to PackageKit: the bus daemon's
/// texts are about names and service files.
namespace Tarnwick::PackageKitFailure {

/// In a sentence for the user; @p message as it is where the error is PackageKit's own.
[[nodiscard]] std::string words(const QString &errorName, const QString &message);

/// The same for a system bus that cannot be joined.
[[nodiscard]] std::string noBus(const QString &message);

/// Whether the system did not allow the request.
[[nodiscard]] bool isRefusal(const QString &errorName);

} // namespace Tarnwick::PackageKitFailure
