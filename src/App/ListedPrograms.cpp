// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/ListedPrograms.h"

#include "Shared/RawPortInfo.h"

#include <chrono>

namespace Tarnwick {

void ListedPrograms::continueWith(std::vector<RawPortInfo> &records)
{
    ++m_listing;
    bool areAllContinued = true;
    for (RawPortInfo &record : records) {
        const auto [place, isNew] = m_programs.try_emplace({record.pid, record.port});
        Program &program = place->second;
        if (isNew) {
            program = {record.processName, record.commandPath, record.processStartedAt, m_listing};
        } else if (isSame(program, record)) {
            if (program.path.empty()) {
                program.path = record.commandPath;
            }
            program.listing = m_listing;
        } else if (isRenamed(program, record)) {
            record.processName = program.name;
            program.listing = m_listing;
        } else {
            areAllContinued = false;
        }
    }
    if (!areAllContinued) {
        // Sockets of an unknown owner may have several names under one key, of which the state
        // could not tell the listeners apart when one of them closes.
        std::erase_if(records, [this](const RawPortInfo &record) {
            const Program &program = m_programs.at({record.pid, record.port});
            return program.listing != m_listing || !isSame(program, record);
        });
    }
    std::erase_if(m_programs,
                  [this](const auto &listed) { return listed.second.listing != m_listing; });
}

bool ListedPrograms::isSame(const Program &program, const RawPortInfo &record)
{
    const bool isPathKnown = !program.path.empty() && !record.commandPath.empty();
    return program.name == record.processName &&
           (!isPathKnown || program.path == record.commandPath);
}

bool ListedPrograms::isRenamed(const Program &program, const RawPortInfo &record)
{
    return record.pid > 0 && !program.path.empty() && program.path == record.commandPath &&
           std::chrono::abs(program.startedAt - record.processStartedAt) <= startTolerance;
}

} // namespace Tarnwick
