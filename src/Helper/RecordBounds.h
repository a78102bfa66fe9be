// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// How large the records of a listing may become. Other processes choose their names, paths and
/// arguments, any bytes, and each of their sockets has a record with all of these: what counts is
/// the size of the record in the payload, where one byte may take six, and what the texts cost in
/// memory besides. Each text has a bound of its own; a record that is larger than an equal share of
/// a listing is shortened to it, arguments first, then paths, and the name last. Sizes in bytes.
class RecordBounds
{
public:
    RecordBounds() = delete;

    /// All records together, as long as that leaves each of them @ref minRecordSize. The bus takes
    /// four times as much at once.
    static constexpr std::size_t maxListingSize = 16UL * 1024 * 1024;
    static constexpr std::size_t minRecordSize = 320;

    /// A name of 255 characters, the longest that a file may have, fits if it is printable.
    static constexpr std::size_t maxNameSize = 512;
    /// A record without owner, of the longest name.
    static constexpr std::size_t costWithName = 1024;
    /// A path of 4,096 fits as well, in any encoding.
    static constexpr std::size_t maxPathSize = 16UL * 1024;
    /// Either list of arguments.
    static constexpr std::size_t maxArgumentsSize = 64UL * 1024;

    /// A text of the system within its bound and as valid UTF-8 (see Utf8::sanitized).
    [[nodiscard]] static std::string name(std::string_view text);
    [[nodiscard]] static std::string path(std::string_view text);
    /// The first of @p texts that fit, each of them whole.
    [[nodiscard]] static std::vector<std::string> arguments(std::span<const std::string> texts);

    /// What a record with the texts of @p source costs: a record, or what one is made of.
    template<class Source>
    [[nodiscard]] static std::size_t cost(const Source &source)
    {
        return cost({source.processName, source.commandPath, source.cwd}, source.arguments,
                    source.originArguments);
    }

    /// What each of @p count records may cost that are too large together.
    [[nodiscard]] static std::size_t share(std::size_t count);

    /// @p record with as much of its texts as may cost @p room, which is at least @ref
    /// minRecordSize.
    [[nodiscard]] static RawPortInfo shortened(const RawPortInfo &record, std::size_t room);

private:
    [[nodiscard]] static std::size_t cost(const std::array<std::string_view, 3> &texts,
                                          std::span<const std::string> arguments,
                                          std::span<const std::string> originArguments);
};

} // namespace Tarnwick
