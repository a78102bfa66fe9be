// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessReport.h"
#include "Shared/RawPortInfo.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// A listing as clients get it: its records, encoded once for all of them, and the owners that it
/// reports.
class ListingPayload
{
public:
    ListingPayload(const std::vector<RawPortInfo> &records, SharedProcessReport report);

    /// The most bytes that a channel takes: an array in a message of D-Bus (its specification,
    /// "Valid Signatures"). Records whose texts are shortened as far as they may be (see
    /// RecordBounds) reach it at some 289,000 listeners.
    static constexpr std::size_t maxSize = 64UL * 1024 * 1024;

    /// The records, see RawPortInfo::encode().
    [[nodiscard]] const std::string &bytes() const { return m_bytes; }

    [[nodiscard]] const SharedProcessReport &report() const { return m_report; }

    /// A part of a listing.
    struct Reduced
    {
        std::string bytes;
        SharedProcessReport report; ///< what these bytes report
    };

    /// What a client gets that was shown @p before, null for one that never listed, where that
    /// differs from bytes(). A client recognises a listener by identifier, port and name, and takes
    /// one whose program was replaced for the old one. So the sockets of a process that has become
    /// another program, or another process, under its identifier since are left out this once: the
    /// client sees them go, and takes them up anew with its next listing. Another process is not
    /// reported by a listing that left it out.
    [[nodiscard]] std::optional<Reduced> after(const ProcessReport *before) const;

private:
    std::string m_bytes;
    SharedProcessReport m_report;
};

} // namespace Tarnwick
