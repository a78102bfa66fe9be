// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/CommandLine/PseudoTerminal.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Tarnwick {

/// A shell with the project's completions and nothing of the user's own. bash and zsh run on a
/// pseudo-terminal and are asked by the keys of completion.bash and completion.zsh; fish is asked
/// by its `complete -C`.
class CompletingShell
{
public:
    /// @p name is bash, zsh or fish. Throws std::runtime_error when there is no terminal to be had.
    explicit CompletingShell(const std::string &name);

    /// The words that the shell offers in place of the last word of @p line, which is empty after a
    /// blank. The "=" that some shells put after an option is left out.
    [[nodiscard]] std::set<std::string> offered(const std::string &line);

    /// What is in the tilde of the shell. Its folder "path" comes first in the shell's PATH.
    [[nodiscard]] const std::filesystem::path &home() const { return m_home.path(); }

private:
    [[nodiscard]] std::vector<std::string> command() const;
    [[nodiscard]] RunningProgram::Setup setup() const;
    [[nodiscard]] std::string offeredByFish(const std::string &line) const;
    [[nodiscard]] std::string offeredOnTerminal(const std::string &line);

    std::string m_name;
    TemporaryFolder m_home;
    PseudoTerminal m_terminal;
    std::unique_ptr<RunningProgram> m_shell; ///< null for fish
};

} // namespace Tarnwick
