// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Columns.h"
#include "CommandLine/Grouping.h"
#include "CommandLine/Selection.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

struct ListArguments
{
    Selection selection{};
    bool json = false;
    std::vector<std::string> hosts{}; ///< the machines to ask; this one where empty
    bool pidsOnly = false;            ///< the identifiers of the processes, in place of a table
    std::vector<Column> columns{};    ///< of the table; none for the usual ones
    std::vector<SortKey> order{};
    Grouping grouping = Grouping::None;
};

struct WatchArguments
{
    Selection selection{};
    bool json = false;
    /// Between two scans although no change was detected; nothing for 2 seconds, or longer where
    /// scans would take too much of the time.
    std::optional<std::chrono::milliseconds> interval{};
    std::vector<std::string> hosts{}; ///< as those of list
};

/// Either ports or process identifiers, at least one; each in the order given.
struct KillArguments
{
    std::vector<std::int64_t> ports{};
    std::vector<std::int32_t> pids{};
    bool yes = false;                 ///< do not ask
    bool system = false;              ///< stop what belongs to the system too
    std::vector<std::string> hosts{}; ///< as those of list
};

struct WhyArguments
{
    std::int64_t port = 0;
    bool json = false;
    std::vector<std::string> hosts{}; ///< as those of list
};

struct FreeArguments
{
    std::vector<std::int64_t> ports{}; ///< at least one, in the order given
    bool yes = false;                  ///< do not ask
    bool system = false;               ///< stop what belongs to the system too
    bool dryRun = false;               ///< print what would be done, and do nothing
    std::vector<std::string> hosts{};  ///< as those of list
};

/// The ports are waited for together, at least one.
struct WaitArguments
{
    enum class Awaited {
        Listener, ///< something that listens
        FreePort, ///< nothing listens, and the port can be bound
    };
    std::vector<std::int64_t> ports{};
    Awaited awaited = Awaited::Listener;
    std::optional<std::chrono::milliseconds> timeout{}; ///< none for any time
};

struct UrlArguments
{
    std::int64_t port = 0;
};

struct TiersArguments
{
    bool json = false;
};

/// What to print, instead of doing anything: the help or the version.
struct Information
{
    std::string text;
};

struct UsageError
{
    std::string message;
    std::string command = "tarnwickctl"; ///< the command that has the help
};

using Arguments =
    std::variant<ListArguments, WatchArguments, KillArguments, WhyArguments, FreeArguments,
                 WaitArguments, UrlArguments, TiersArguments, Information, UsageError>;

/// What the user asks for with @p arguments, those after the program's name.
[[nodiscard]] Arguments parseArguments(std::span<const char *const> arguments);

} // namespace Tarnwick
