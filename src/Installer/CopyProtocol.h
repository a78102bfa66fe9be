// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The protocol between the process that reads a portable copy, as the user, and the one that
/// installs it, as the administrator. The first sends the line `begin`; for each file a header line
/// (size in bytes, mode, path) and the bytes; the line `complete`. The second then has a whole copy
/// under a temporary name, and replies with that name on one line. Once that copy has run, the
/// first sends the line `commit`, and the second exits with status 0 when the copy is in place.
/// Any other input, and the end of it, undoes everything.
namespace Tarnwick::CopyProtocol {

inline constexpr std::string_view begin = "tarnwick-copy 1";
inline constexpr std::string_view complete = "complete";
inline constexpr std::string_view commit = "commit";

/// Before the six characters that make a temporary name in the folder for applications.
inline constexpr std::string_view temporaryPrefix = ".tarnwick-";

/// Why something failed, in words for a log; absent when it did not. Empty where the other process
/// has said it.
using Failure = std::optional<std::string>;

/// "SUBJECT: " and what errno says.
[[nodiscard]] std::string systemFailure(std::string_view subject);

} // namespace Tarnwick::CopyProtocol
