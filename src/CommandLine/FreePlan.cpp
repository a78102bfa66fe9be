// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FreePlan.h"

namespace Tarnwick {

std::vector<ProcessIdentity> FreePlan::processes(Part part) const
{
    std::vector<ProcessIdentity> found;
    for (const Step &step : steps) {
        if (step.part == part) {
            found.push_back(step.process);
        }
    }
    return found;
}

std::string_view name(FreePlan::Part part)
{
    switch (part) {
    case FreePlan::Part::Runner:
        return "runner";
    case FreePlan::Part::Owner:
        return "owner";
    case FreePlan::Part::Worker:
        return "worker";
    case FreePlan::Part::Member:
        break;
    }
    return "member";
}

} // namespace Tarnwick
