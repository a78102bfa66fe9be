// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SystemError.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace Tarnwick;

TEST(SystemError, KnowsTheNumberOfEachName)
{
    EXPECT_EQ(SystemError::codeForName("System.Error.EPERM"), EPERM);
    EXPECT_EQ(SystemError::codeForName("System.Error.EACCES"), EACCES);
    EXPECT_EQ(SystemError::codeForName("System.Error.EOPNOTSUPP"), EOPNOTSUPP);
    EXPECT_EQ(SystemError::codeForName("System.Error.EHWPOISON"), EHWPOISON);
}

TEST(SystemError, KnowsNoOtherName)
{
    for (const char *name :
         {"", "EPERM", "System.Error.", "System.Error.EODD", "System.Error.eperm",
          "System.Error.EPERM ", "xSystem.Error.EPERM", "org.freedesktop.DBus.Error.NoMemory"}) {
        EXPECT_FALSE(SystemError::codeForName(name)) << name;
    }
}
