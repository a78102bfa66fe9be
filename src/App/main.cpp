// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/TarnwickApp.h"

#include <csignal>

int main(int argc, char *argv[])
{
    // Inherited as ignored, it would let the system forget how the programs that Qt starts ended.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    return Tarnwick::TarnwickApp::run(argc, argv);
}
