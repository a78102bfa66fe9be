// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorInput.h"

#include "Shared/FileDescriptor.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// A descriptor from which @p text can be read.
FileDescriptor readable(std::string_view text)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const FileDescriptor writeEnd(ends[1]);
    EXPECT_EQ(write(writeEnd.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return FileDescriptor(ends[0]);
}

} // namespace

TEST(DescriptorInput, GivesLineAfterLine)
{
    const FileDescriptor pipe = readable("yes\n\nno");
    DescriptorInput input(pipe.get());
    EXPECT_EQ(input.readLine(), "yes");
    EXPECT_EQ(input.readLine(), "");
    EXPECT_EQ(input.readLine(), "no");
    EXPECT_EQ(input.readLine(), std::nullopt);
}

TEST(DescriptorInput, GivesNothingWhenItCannotBeRead)
{
    DescriptorInput input(-1);
    EXPECT_EQ(input.readLine(), std::nullopt);
}

TEST(DescriptorInput, KnowsThatAPipeIsNoTerminal)
{
    const FileDescriptor pipe = readable("");
    EXPECT_FALSE(DescriptorInput(pipe.get()).isTerminal());
}

} // namespace Tarnwick
