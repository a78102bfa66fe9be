// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "Shared/TierRuleFiles.h"

#include <string>

namespace Tarnwick {

/// Shows the rules for tiers in the order in which they count: those of the files, then the
/// built-in ones. A file that is refused is an error.
class TiersCommand
{
public:
    TiersCommand(TiersArguments arguments, const Console &console, TierRuleSources sources);

    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] std::string text(const TierRules &rules) const;
    [[nodiscard]] static std::string json(const TierRules &rules, const TierRuleFiles &files);

    TiersArguments m_arguments;
    const Console &m_console;
    TierRuleSources m_sources;
};

} // namespace Tarnwick
