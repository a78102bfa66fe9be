// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ShellUse.h"

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace Tarnwick {

namespace {

struct Sample
{
    std::vector<std::string> arguments;
    ShellUse use;
};

void PrintTo(const Sample &sample, std::ostream *stream)
{
    for (const std::string &argument : sample.arguments) {
        *stream << argument << ' ';
    }
}

struct ShellUseTest : testing::TestWithParam<Sample>
{
};

constexpr ShellUse interactive = ShellUse::Interactive;
constexpr ShellUse command = ShellUse::Command;
constexpr ShellUse script = ShellUse::Script;

} // namespace

TEST_P(ShellUseTest, GoesByTheArguments)
{
    EXPECT_EQ(shellUseOf(GetParam().arguments), GetParam().use);
}

INSTANTIATE_TEST_SUITE_P(
    OfCommandLines, ShellUseTest,
    testing::Values(
        Sample{{}, interactive}, Sample{{"bash"}, interactive}, Sample{{"-zsh"}, interactive},
        Sample{{"-bash", "start.sh"}, interactive}, Sample{{"bash", "-i"}, interactive},
        Sample{{"bash", "--login"}, interactive}, Sample{{"bash", "-s", "a"}, interactive},
        Sample{{"bash", "--rcfile", "/tmp/rc"}, interactive},
        Sample{{"bash", "--init-file", "/opt/editor/integration.sh"}, interactive},
        Sample{{"bash", "-o", "vi"}, interactive}, Sample{{"bash", "-eo", "pipefail"}, interactive},
        Sample{{"fish", "--interactive"}, interactive},
        Sample{{"fish", "-C", "source integration"}, interactive}, Sample{{"sh", "-"}, interactive},
        Sample{{"sh", "-c", "node server.js"}, command}, Sample{{"bash", "-lc", "x"}, command},
        Sample{{"bash", "-euo", "pipefail", "-c", "x"}, command},
        Sample{{"bash", "-ic", "x"}, command}, Sample{{"fish", "--command=x"}, command},
        Sample{{"sh", "start.sh"}, script}, Sample{{"bash", "-e", "start.sh"}, script},
        Sample{{"bash", "-euo", "pipefail", "start.sh"}, script},
        Sample{{"bash", "--", "-start"}, script}, Sample{{"zsh", "+x", "start.sh"}, script},
        Sample{{"bash", "--norc", "start.sh", "-i"}, script}));

} // namespace Tarnwick
