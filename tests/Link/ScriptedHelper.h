// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Link/BusCaller.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScriptedHelperProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A program that plays the helper as the script says.
class ScriptedHelper
{
public:
    ScriptedHelper(const PrivateBus &bus, const std::string &listing, const std::string &kill,
                   const std::filesystem::path &program = scriptedHelperProgram)
        : m_process({program.string(), listing, kill},
                    {.output = m_folder.path() / "output", .environment = bus.environment()})
    {
        EXPECT_TRUE(BusCaller(bus.address()).awaitHelper());
    }

    [[nodiscard]] pid_t pid() const { return m_process.pid(); }
    void signal(int number) const { m_process.signal(number); }

    /// The members of the requests that it got.
    [[nodiscard]] std::vector<std::string> requests() const
    {
        std::ifstream file(m_folder.path() / "output");
        return {std::istream_iterator<std::string>(file), {}};
    }

private:
    TemporaryFolder m_folder;
    ChildProcess m_process;
};

} // namespace Tarnwick
