// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"

#include <cstdint>
#include <optional>

namespace Tarnwick {

/// What @p pid forwards the TCP port @p port to (0 for any port), where it is one of the programs
/// that forward ports into containers. Nothing for other processes, and for a forwarder behind
/// which there is no process any more. Where that could not be found out in a second, only the
/// forwarder is known of it.
///
/// Such a program is known by its executable: the very file that is installed in a system folder.
/// Another file of the same name counts only where a process of a container is behind it, in a
/// network namespace and a control group as a runtime makes them: a name alone brings nothing
/// about. Any thread; takes some milliseconds for a forwarder, and
/// microseconds for other processes.
[[nodiscard]] std::optional<Forwarding> forwardingOf(std::int32_t pid, std::uint16_t port = 0);

/// The container that @p pid runs in, by its control group or by the monitor that Podman starts
/// each container with; nothing for other processes. Any thread.
[[nodiscard]] std::optional<Container> containerOf(std::int32_t pid);

} // namespace Tarnwick
