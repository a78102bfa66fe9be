// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

namespace Tarnwick {

/// The kernel's notifications that TCP sockets of this network namespace were destroyed: the groups
/// SKNLGRP_INET_TCP_DESTROY and SKNLGRP_INET6_TCP_DESTROY of sock_diag(7), which need no privilege.
/// A filter in the kernel passes only those of sockets that had no peer, as listening sockets have
/// none, and those that were never connected. Belongs to one thread.
class DestroyedListeners
{
public:
    /// Subscribes; there is no descriptor where the kernel refuses.
    DestroyedListeners();

    /// Readable while there is a notification; -1 for none.
    [[nodiscard]] int descriptor() const { return m_socket.get(); }

    /// Whether there was a notification since the previous call, or notifications were lost.
    [[nodiscard]] bool take();

private:
    FileDescriptor m_socket;
};

} // namespace Tarnwick
