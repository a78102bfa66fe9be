// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "Helper/ProcessIdentity.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// What is to be done so that one process listens no more and nothing starts it again: made once,
/// and then shown or carried out.
struct FreePlan
{
    /// Why a process is part of the server.
    enum class Part {
        Runner, ///< started it and nothing else, and may start it again
        Owner,  ///< owns the listening sockets
        Worker, ///< descends from the owner
        Member, ///< is left of the owner's process group, or holds the listening socket as well
    };

    struct Step
    {
        Part part = Part::Owner;
        ProcessIdentity process{};
        std::string name{};
        std::string command{}; ///< its arguments, joined with blanks; may be empty
    };

    PortEntry owner{};
    std::vector<std::int64_t> ports{};      ///< those that are to be free, of the owner's
    std::vector<std::int64_t> otherPorts{}; ///< further ones of the owner's
    std::vector<ListenAddress> addresses{}; ///< at which the ports are listened on
    /// Why nothing is done, as sentences for people; then there are no steps.
    std::string refusal{};
    /// In their order: the runners, the owner, and then what is left of the others.
    std::vector<Step> steps{};
    /// Processes that started the owner, or that it has started, and that stay, with the reason.
    std::vector<std::string> spared{};
    bool mayReturn = false; ///< something that stays may start the server again

    /// The processes of the steps of @p part, in their order.
    [[nodiscard]] std::vector<ProcessIdentity> processes(Part part) const;
};

/// "runner", "owner", "worker", "member".
[[nodiscard]] std::string_view name(FreePlan::Part part);

} // namespace Tarnwick
