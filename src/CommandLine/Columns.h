// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "CommandLine/Table.h"
#include "Models/Timestamp.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// What a table of listeners can show of each, and what they can be sorted by.
enum class Column : std::uint8_t {
    Port,
    Address,
    Exposed,
    Tier,
    Pid,
    User,
    Process,
    Description,
    Uptime,
    Memory,
    Command,
    Path,
    Folder,
    Unit,
    Socket,
    Container,
    Project,
    Branch,
    Parent,
    Host
};

/// A column to sort by.
struct SortKey
{
    Column column = Column::Port;
    bool isDescending = false;

    friend bool operator==(const SortKey &, const SortKey &) = default;
};

/// What belongs to each column: its name, its title, its text and its order.
class Columns
{
public:
    Columns() = delete;

    /// Those that are shown when none are named; @p hasHosts where there are listeners of other
    /// machines.
    [[nodiscard]] static std::vector<Column> usual(bool hasHosts);

    /// "port, address, …", in lines of @p width columns at most.
    [[nodiscard]] static std::string names(std::size_t width);

    /// The column that is called @p name; nothing for any other text.
    [[nodiscard]] static std::optional<Column> from(std::string_view name);

    /// The columns whose names are in @p list, with commas between them; nothing where one is no
    /// name of a column or is there twice.
    [[nodiscard]] static std::optional<std::vector<Column>> listFrom(std::string_view list);

    /// The same for an order, in which a name may have a hyphen in front: "-memory,port".
    [[nodiscard]] static std::optional<std::vector<SortKey>> orderFrom(std::string_view list);

    /// Title, alignment and limits in a table. One of the columns that are shown when none are
    /// named is left out where those do not fit; one that was named never is.
    [[nodiscard]] static Table::Column shape(Column column, bool isNamed);

    struct Context
    {
        Timestamp now;
        std::string_view home; ///< written "~"
    };

    /// The printable text of @p listener in @p column; empty where it has none.
    [[nodiscard]] static std::string text(Column column, const Listener &listener,
                                          const Context &context);

    /// Sorts by the first of @p order, where that is equal by the next, and so on; the rest stays
    /// as it is. What is unknown comes last, and first when descending.
    static void sort(std::vector<Listener> &listeners, std::span<const SortKey> order);
};

} // namespace Tarnwick
