// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/ShellQuoting.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

TEST(ShellQuoting, PutsATextIntoSingleQuotes)
{
    EXPECT_EQ(ShellQuoting::quote("/opt/My \"App\" $HOME\\n"), "'/opt/My \"App\" $HOME\\n'");
    EXPECT_EQ(ShellQuoting::quote(""), "''");
}

TEST(ShellQuoting, LeavesTheQuotesForASingleQuote)
{
    EXPECT_EQ(ShellQuoting::quote("it's"), R"('it'\''s')");
    EXPECT_EQ(ShellQuoting::quote("''"), R"(''\'''\''')");
}

} // namespace
} // namespace Tarnwick
