// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

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
    };

    ListenerTable(std::span<const Listener> listeners, const Context &context);

    /// The titles and the rows, as Table::lines() promises.
    [[nodiscard]] std::vector<std::string> lines(std::size_t width = Table::anyWidth) const;

    /// "12 listeners: 3 system, 1 app, 6 dev, 2 unknown".
    [[nodiscard]] static std::string summary(std::span<const Listener> listeners);

private:
    Table m_table;
    Style m_style;
};

} // namespace Tarnwick
