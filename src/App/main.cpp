// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/TarnwickApp.h"

int main(int argc, char *argv[])
{
    return Tarnwick::TarnwickApp::run(argc, argv);
}
