// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <cstddef>
#include <string_view>

namespace Tarnwick {

/// Reads a payload in one pass over the events of a JSON parser that needs no recursion. That the
/// text is JSON at all comes first: an error of syntax anywhere is told before any bad record.
/// Otherwise the first bad record is told, by the first of its bad keys in the order of the wire
/// format. Any thread.
class RawPortInfoDecoder
{
public:
    RawPortInfoDecoder() = delete;

    /// How many arrays and objects may be open at a time.
    static constexpr std::size_t maximumDepth = 512;

    /// The most bytes of a payload: the limit of a D-Bus message (D-Bus Specification, "Message
    /// Protocol").
    static constexpr std::size_t maximumPayloadSize = std::size_t{128} * 1024 * 1024;

    [[nodiscard]] static RawPortInfo::Decoded decode(std::string_view payload);
};

} // namespace Tarnwick
