// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/TierRuleParser.h"
#include "Shared/TierRules.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Tarnwick {

/// Where the rules for tiers are read from.
struct TierRuleSources
{
    struct File
    {
        std::string path;
        bool isRequired = false; ///< a missing file is an error

        friend bool operator==(const File &, const File &) = default;
    };

    /// What the sources follow from; a variable that is not set is empty.
    struct Environment
    {
        std::string chosen{};        ///< TARNWICK_TIERS: a file, or "none"
        std::string home{};          ///< HOME
        std::string configHome{};    ///< XDG_CONFIG_HOME, which counts when it is absolute
        std::string systemFolder{};  ///< for the administrator's files
        std::string programFolder{}; ///< of the executable; empty when it cannot be told
    };

    std::vector<File> files{}; ///< in the order in which their rules count
    std::string home{};        ///< what "~/" stands for in a rule; empty when unknown

    /// The file that was chosen alone, or none; else velmora/tarnwick/tiers.toml in the user's
    /// folder for configuration (XDG Base Directory Specification 0.8), tarnwick/tiers.toml in the
    /// system's, and ../share/tarnwick/tiers.toml from the program's folder.
    [[nodiscard]] static TierRuleSources from(const Environment &environment);

    /// Those of this process, with "/etc" for the system.
    [[nodiscard]] static TierRuleSources ofThisProcess();
};

/// Reads the files with rules for tiers, and again when they have changed. A file that cannot be
/// read or understood is refused whole, and the others count. One thread at a time.
class TierRuleFiles
{
public:
    static constexpr std::size_t maxFileSize = 1UL << 20U; ///< bytes

    /// Called by update() for each file that is refused, once for each change of it.
    using Report = std::function<void(const TierRuleProblem &)>;

    TierRuleFiles(TierRuleSources sources, Report report);

    /// The rules of all files, after those that have changed were read: whose device, inode, size
    /// or times are others, or which are new or gone. No file but a regular one is read, and none
    /// that is larger than maxFileSize. Never null.
    [[nodiscard]] SharedTierRules update();

    /// The files that are refused now, in their order.
    [[nodiscard]] const std::vector<TierRuleProblem> &problems() const { return m_problems; }

    [[nodiscard]] const TierRuleSources &sources() const { return m_sources; }

private:
    struct Contents
    {
        int error = -1; ///< of opening the file, as errno has it; -1 before it was tried
        /// Device, inode, size, and the times of the last change of the contents and of the inode.
        std::array<std::int64_t, 7> stamp{};
        bool isRecent = false; ///< changed so shortly before that another change may not show
        std::string text{};
        std::string problem{}; ///< why it could not be read; empty where it was
    };

    [[nodiscard]] static Contents read(const TierRuleSources::File &file);
    [[nodiscard]] static bool isCurrent(const TierRuleSources::File &file,
                                        const Contents &contents);
    void parse(const std::vector<bool> &changed);

    TierRuleSources m_sources;
    Report m_report;
    std::vector<Contents> m_contents; ///< in the order of the sources
    std::vector<TierRuleProblem> m_problems;
    SharedTierRules m_rules = std::make_shared<TierRules>();
};

} // namespace Tarnwick
