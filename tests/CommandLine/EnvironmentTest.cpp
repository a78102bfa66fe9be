// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Environment.h"

#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <utility>

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

TEST(Environment, HoldsTheHomeFolderWithoutSlashesAtItsEnd)
{
    for (const auto &[home, expected] : {std::pair("/home/ada/", "/home/ada"),
                                         {"/home/ada//", "/home/ada"},
                                         {"/", "/"},
                                         {"//", "/"},
                                         {"", ""}}) {
        const ScopedEnvironment variable("HOME", home);
        EXPECT_EQ(Environment::ofThisProcess().home, expected);
    }
}

TEST(Environment, TakesATerminalOfNoKnownTypeForAPlainOne)
{
    EXPECT_TRUE(Environment{}.hasPlainTerminal());
    EXPECT_TRUE(Environment{.term = "dumb"}.hasPlainTerminal());
    EXPECT_FALSE(Environment{.term = "xterm"}.hasPlainTerminal());
    const ScopedEnvironment variable("TERM", std::nullopt);
    EXPECT_TRUE(Environment::ofThisProcess().hasPlainTerminal());
}

} // namespace Tarnwick
