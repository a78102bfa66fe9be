// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

class QDBusMessage;
class QString;

namespace Tarnwick {

/// The unique name of the process that sent @p reply, a method return or an error, as the bus
/// daemon entered it; that of the bus daemon itself is its well-known name. Empty where the library
/// made the reply. QDBusMessage::service() was the same up to Qt 6.4, and is empty for replies in
/// Qt 6.8.
[[nodiscard]] QString replySender(const QDBusMessage &reply);

} // namespace Tarnwick
