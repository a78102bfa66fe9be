// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// The program: reads its command line, sees that it is the only one, and hands over to the
/// application delegate.
class TarnwickApp
{
public:
    TarnwickApp() = delete;

    /// What `main()` does. The status is 0; 1 when there is no display or another instance hangs; 2
    /// for a command line that is not understood.
    static int run(int argc, char *argv[]);
};

} // namespace Tarnwick
