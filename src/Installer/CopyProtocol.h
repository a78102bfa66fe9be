// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>
#include <string_view>

/// How the process that reads a portable copy, as the user, speaks with the one that installs it,
/// as the administrator. The first sends `begin`; for each file a header line and as many bytes as
/// it says; `complete`. The second then has a whole copy under a temporary name, and answers with
/// that name on one line. When the first has seen that the copy runs it sends `commit`; the second
/// ends with status 0 once the copy has its place. Whatever else either gets, and the end of its
/// input, undoes everything.
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
