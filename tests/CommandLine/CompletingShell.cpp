// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/CompletingShell.h"

#include "tests/CommandLine/ProgramPaths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Tarnwick {

namespace {

const std::string completions = std::string(projectFolder) + "/completions";
const std::string setupFolder = std::string(projectFolder) + "/tests/CommandLine/completion.";

/// Wider than any line, so that the shell never wraps or scrolls one.
constexpr unsigned short columns = 30'000;

constexpr const char *offerKey = "\x14";
constexpr const char *showKey = "\x0f";

} // namespace

CompletingShell::CompletingShell(const std::string &name)
    : m_name(name)
    , m_terminal(columns, 50)
{
    if (name == "fish") {
        return;
    }
    std::ofstream(m_home.path() / ".zshrc") << "source '" << setupFolder << "zsh'\n";
    m_shell = std::make_unique<RunningProgram>(command(), m_terminal, setup());
    EXPECT_TRUE(m_shell->shows("ready> ")) << name;
}

std::vector<std::string> CompletingShell::command() const
{
    if (m_name == "bash") {
        return {"bash", "--noprofile", "--rcfile", setupFolder + "bash", "-i"};
    }
    return {"zsh", "-d", "-i"};
}

RunningProgram::Setup CompletingShell::setup() const
{
    const std::string folder = std::filesystem::path(programPath).parent_path();
    const char *const path = std::getenv("PATH");
    const std::string home = m_home.path();
    return {.environment = {"PATH=" + home + "/path:" + folder + ":" +
                                (path != nullptr ? path : "/usr/bin:/bin"),
                            "HOME=" + home, "ZDOTDIR=" + home, "XDG_CONFIG_HOME=" + home,
                            "XDG_DATA_HOME=" + home, "INPUTRC=/dev/null", "TERM=dumb",
                            "COMPLETIONS=" + completions}};
}

std::set<std::string> CompletingShell::offered(const std::string &line)
{
    std::istringstream words(m_name == "fish" ? offeredByFish(line) : offeredOnTerminal(line));
    std::set<std::string> result;
    for (std::string word; words >> word;) {
        if (word.ends_with('=')) {
            word.pop_back();
        }
        result.insert(word);
    }
    return result;
}

std::string CompletingShell::offeredByFish(const std::string &line) const
{
    const std::string script = "source $COMPLETIONS/tarnwickctl.fish; complete -C $argv[1] | "
                               "string replace -r '\\t.*' ''";
    const auto result = run({"fish", "--no-config", "-c", script, line}, setup());
    EXPECT_EQ(result.errors, "") << line;
    // Since version 4 it adds what only holds these letters, and prefers what begins with them.
    const std::string begun = line.substr(line.rfind(' ') + 1);
    std::istringstream words(result.output);
    std::string preferred;
    for (std::string word; words >> word;) {
        preferred += word.starts_with(begun) ? word + '\n' : "";
    }
    return preferred;
}

std::string CompletingShell::offeredOnTerminal(const std::string &line)
{
    m_shell->type(line + offerKey + showKey);
    if (!m_shell->shows("<<")) {
        ADD_FAILURE() << m_name << " did not complete: " << line;
        return {};
    }
    const std::string shown = m_shell->textBefore(">>");
    const std::string kept = line.substr(0, line.rfind(' ') + 1);
    EXPECT_TRUE(shown.starts_with(kept)) << shown;
    // What could not be completed stays as it was typed.
    return shown == line ? "" : shown.substr(std::min(shown.size(), kept.size()));
}

} // namespace Tarnwick
