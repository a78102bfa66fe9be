// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/ListenerKey.h"
#include "Models/Timestamp.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

struct RawPortInfo;

/// Which program each listener was listed with, over all connections to the helper. The state
/// recognises a listener by identifier, port and name, and would lose one whose name changes. A
/// helper sees to that for its own listings, but another helper does not know them, and a listing
/// may be lost on its way. One thread at a time.
class ListedPrograms
{
public:
    /// Makes @p records, the listing that is handed on next, continue the one before; no records
    /// are a listing that failed, after which every listener is taken up anew. A process that runs
    /// the same executable keeps the name that it was listed with, as in the listings of one
    /// helper. A listener that another program has by now is left out of this one listing, so that
    /// it goes and is taken up anew with the next. Of several names under one identifier and port,
    /// as sockets of an unknown owner have, one is handed on: the one of the listing before for as
    /// long as it is there. The start of a process is compared only where
    /// the name differs, since all of them move when the system's clock is set.
    void continueWith(std::vector<RawPortInfo> &records);

private:
    struct Program
    {
        std::string name;
        std::string path; ///< of the executable, empty when unknown
        Timestamp startedAt;
        std::uint64_t listing = 0; ///< the number of the last one that it was in
    };

    [[nodiscard]] static bool isSame(const Program &program, const RawPortInfo &record);
    [[nodiscard]] static bool isRenamed(const Program &program, const RawPortInfo &record);

    std::unordered_map<ListenerKey, Program> m_programs;
    std::uint64_t m_listing = 0;
};

} // namespace Tarnwick
