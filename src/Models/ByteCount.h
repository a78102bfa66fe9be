// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace Tarnwick {

/// The text of an amount of memory.
class ByteCount
{
public:
    ByteCount() = delete;

    /// @p bytes in steps of 1024 with the unit: no decimals for bytes and KB, at most one from MB,
    /// at most two from GB, no trailing zeros: "0 bytes", "1 byte", "812 KB", "46.5 MB", "1.25 GB".
    [[nodiscard]] static std::string format(std::uint64_t bytes);
};

} // namespace Tarnwick
