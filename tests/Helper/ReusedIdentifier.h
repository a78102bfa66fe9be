// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

namespace Tarnwick {

/// A process that has the identifier of one that has ended, or of none yet (clone3(2), which wants
/// privilege). It does nothing, or listens on a port, until this object ends it.
class ReusedIdentifier
{
public:
    ReusedIdentifier(pid_t pid, bool listens);
    ~ReusedIdentifier();
    ReusedIdentifier(const ReusedIdentifier &) = delete;
    ReusedIdentifier &operator=(const ReusedIdentifier &) = delete;

    /// Whether there is such a process.
    [[nodiscard]] explicit operator bool() const { return m_pid > 0; }

    [[nodiscard]] bool hasEnded();

private:
    pid_t m_pid = -1;
};

} // namespace Tarnwick
