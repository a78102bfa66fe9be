// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Environment.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <unistd.h>

namespace Tarnwick {

TEST(Environment, HoldsWhatIsSetAndEmptyTextsForTheRest)
{
    setenv("HOME", "/home/ada", 1);
    setenv("COLORTERM", "truecolor", 1);
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    const Environment environment = Environment::ofThisProcess();
    EXPECT_EQ(environment.home, "/home/ada");
    EXPECT_EQ(environment.colorTerm, "truecolor");
    EXPECT_EQ(environment.term, "xterm");
    EXPECT_EQ(environment.noColor, "");
    EXPECT_EQ(environment.isRoot, geteuid() == 0);
}

} // namespace Tarnwick
