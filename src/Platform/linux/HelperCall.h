// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/HelperConnection.h"
#include "Platform/linux/BusLink.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tarnwick::HelperCall {

/// Requests to the helper at @p owner, a unique name on @p link. They keep the link open until they
/// are answered, however long that takes. Errors that the bus or its library raised go to
/// @p failed and all others, with the reply, to @p reply; the one that is not called is let go. A
/// listing whose reply was forged is requested again, and lost when that happens too often. A kill
/// is requested once; where its reply was forged, which the true one cannot follow, its success is
/// that the process has ended within @ref killOutcomeTimeout, and it is an error when it has not.

/// Longer than the helper takes for a scan, the signal that a process may handle and the one that
/// it cannot.
inline constexpr std::chrono::seconds killOutcomeTimeout{10};

void listListeningPorts(const std::shared_ptr<BusLink> &link, const QString &owner,
                        HelperProxy::ListReply reply, HelperConnection::ErrorHandler failed);
void killProcess(const std::shared_ptr<BusLink> &link, const QString &owner, std::int32_t pid,
                 HelperProxy::KillReply reply, HelperConnection::ErrorHandler failed);

/// Asks which version of Tarnwick the helper at @p owner belongs to; empty when it does not say.
void version(const std::shared_ptr<BusLink> &link, const QString &owner,
             std::function<void(const std::string &version)> reply);

} // namespace Tarnwick::HelperCall
