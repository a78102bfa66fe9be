// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// What the process holds in memory and does not need while nobody looks at it.
class IdleMemory
{
public:
    /// Gives back what the allocator keeps for later, and lets go of the pages of code and
    /// constants: the kernel maps those that are needed in again, from its cache, as they are used.
    /// Most are of the libraries' start, or only there because the kernel maps the neighbours of
    /// each page that is used. What a debugger has written there, as its breakpoints, is lost. Any
    /// thread.
    static void release();
};

} // namespace Tarnwick
