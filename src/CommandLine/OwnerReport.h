// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/FieldList.h"
#include "CommandLine/FreePlan.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ListenerTable.h"
#include "Helper/Supervisor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// All that is known of one owner of a port.
struct OwnerReport
{
    struct Process
    {
        std::int32_t pid = 0;
        std::string name{};
        std::string command{}; ///< its arguments, joined with blanks; may be empty

        friend bool operator==(const Process &, const Process &) = default;
    };

    Listener listener{};                    ///< the first of its sockets on the port
    std::vector<ListenerDetails> sockets{}; ///< all of them
    std::vector<Process> ancestors{};       ///< the parent first, up to a service manager
    std::string tierRule{};                 ///< which rule gave the tier
    std::vector<std::string> stop{};        ///< commands that end it, or why none does
    std::string restart{};                  ///< whether it would come back
    std::string url{};

    /// "node (pid 4711), tier dev, Node.js", fit for a terminal.
    [[nodiscard]] std::string heading() const;

    /// The rest, for people.
    [[nodiscard]] FieldList fields(const ListenerTable::Context &context) const;

    /// A JSON object: the nine members of the record, and what is above.
    [[nodiscard]] std::string json() const;
};

} // namespace Tarnwick
