// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Shadowing.h"
#include "Helper/ListenerDetails.h"
#include "Helper/ProcessAncestry.h"
#include "Helper/ProjectFinder.h"
#include "Models/PortTier.h"
#include "Shared/RawPortInfo.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Makes the JSON objects of the listeners that one process owns: what they have in common is made
/// once, for a process may have thousands. What does not print is escaped within the strings.
class JsonOwner
{
public:
    /// @p record is that of any of the listeners, which differ in nothing but the port. A null
    /// @p project is none.
    JsonOwner(const RawPortInfo &record, PortTier tier, std::string_view description,
              std::span<const Ancestor> ancestors, const Project *project);

    /// Appends an object to @p json, without a line feed. Its members are the nine of the record,
    /// then `tier`, `description`, and those of the socket and of the owner's surroundings; one
    /// without a value is left out.
    void append(std::string &json, std::int64_t port, const ListenerDetails &details,
                std::span<const Shadow> shadows);

private:
    [[nodiscard]] bool isCached(const ListenerDetails &details) const;

    std::string m_beforePort;
    std::string m_afterPort;
    std::string m_end; ///< the members of the surroundings
    // Those of the latest socket, for the next one has mostly the same.
    ListenerDetails m_details{};
    std::string m_detailsText;
    ListenAddress m_address{};
    std::string m_addressText;
};

} // namespace Tarnwick
