// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Columns.h"
#include "CommandLine/Grouping.h"
#include "CommandLine/Listener.h"
#include "CommandLine/Style.h"
#include "CommandLine/Table.h"
#include "Models/Timestamp.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// The listing for people: a row for each listener, and what there is of each tier. Reads the
/// listeners while it is made only.
class ListenerTable
{
public:
    struct Context
    {
        Timestamp now;
        std::string_view home;
        Style style;
        std::vector<Column> columns{};      ///< those that were named; none for the usual ones
        Grouping grouping = Grouping::None; ///< by which the listeners are sorted
    };

    ListenerTable(std::span<const Listener> listeners, const Context &context);

    /// The titles and the rows, with a heading before those of each group, as Table::lines()
    /// promises.
    [[nodiscard]] std::vector<std::string> lines(std::size_t width = Table::anyWidth) const;

    /// A sentence for each server whose connections another one gets, such as "Port 5173: localhost
    /// is answered by vite (pid 812) at ::1, not by node (pid 811) at 127.0.0.1."
    [[nodiscard]] static std::vector<std::string> notes(std::span<const Listener> listeners);

    /// "12 listeners: 3 system, 1 app, 6 dev, 2 unknown".
    [[nodiscard]] static std::string summary(std::span<const Listener> listeners);

private:
    /// A heading and the row that it stands before.
    struct Heading
    {
        std::string text;
        std::size_t row = 0;
    };

    Table m_table;
    std::vector<Heading> m_headings;
    Style m_style;
};

} // namespace Tarnwick
