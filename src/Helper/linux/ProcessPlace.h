// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

namespace Tarnwick {

/// The place of a process in the tree of processes, as it was read last.
struct ProcessPlace
{
    pid_t parent = 0; ///< 0 for none that can be seen
    pid_t group = 0;  ///< 0 for one of another namespace

    friend bool operator==(const ProcessPlace &, const ProcessPlace &) = default;
};

} // namespace Tarnwick
