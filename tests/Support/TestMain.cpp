// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"

#include <gtest/gtest.h>

int main(int argc, char *argv[])
{
    static const Tarnwick::IsolatedEnvironment environment;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
