// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <stdexcept>

#include <pty.h>
#include <sys/ioctl.h>

namespace Tarnwick {

/// A terminal whose user is the test.
struct PseudoTerminal
{
    FileDescriptor user;    ///< what the test reads and types into
    FileDescriptor program; ///< what the program takes for its terminal

    PseudoTerminal(unsigned short columns, unsigned short rows)
    {
        int userEnd = -1;
        int programEnd = -1;
        winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        if (openpty(&userEnd, &programEnd, nullptr, nullptr, &size) != 0) {
            throw std::runtime_error("no pseudo-terminal to be had");
        }
        user = FileDescriptor(userEnd);
        program = FileDescriptor(programEnd);
    }

    void resize(unsigned short columns, unsigned short rows) const
    {
        const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        ioctl(user.get(), TIOCSWINSZ, &size);
    }
};

} // namespace Tarnwick
