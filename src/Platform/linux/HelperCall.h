// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/HelperConnection.h"
#include "Platform/linux/BusLink.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tarnwick::HelperCall {

/// Requests to the helper at @p owner, a unique name on @p link. They keep the link open until they
/// are answered, however long that takes. Errors that the bus or its library raised go to
/// @p failed and all others, with the reply, to @p reply; the one that is not called is let go. A
/// listing whose reply was forged is requested again, and lost when that happens too often. A kill
/// is requested once; a forged reply to it, which the true one cannot follow, is an error, whatever
/// becomes of the process.

void listListeningPorts(const std::shared_ptr<BusLink> &link, const QString &owner,
                        HelperProxy::ListReply reply, HelperConnection::ErrorHandler failed);
void killProcess(const std::shared_ptr<BusLink> &link, const QString &owner, std::int32_t pid,
                 HelperProxy::KillReply reply, HelperConnection::ErrorHandler failed);

/// Asks which version of Tarnwick the helper at @p owner belongs to; empty when it does not say.
void version(const std::shared_ptr<BusLink> &link, const QString &owner,
             std::function<void(const std::string &version)> reply);

} // namespace Tarnwick::HelperCall
