// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The protocol between the process that reads a portable copy, as the user, and the one that
/// installs it, as the administrator. The first sends the line `begin`; for each file a header line
/// (size in bytes, mode, path) and the bytes; the line `complete`. The second then has a whole copy
/// under a temporary name, and replies with that name on one line. Once that copy has run, the
/// first sends the line `commit`. The second replies `installed` as soon as the copy is in place,
/// after which nothing is a failure any more. Instead of either reply it may send `failed`, a blank
/// and the reason, when it has undone everything: any other input, and the end of it, is one.
namespace Tarnwick::CopyProtocol {

inline constexpr std::string_view begin = "tarnwick-copy 1";
inline constexpr std::string_view complete = "complete";
inline constexpr std::string_view commit = "commit";
inline constexpr std::string_view installed = "installed";
inline constexpr std::string_view failed = "failed ";

/// Before the six characters that make a temporary name in the folder for applications.
inline constexpr std::string_view temporaryPrefix = ".tarnwick-";
/// Before the name of a copy and six characters, where an older copy of that name is set aside for
/// a moment because the file system cannot exchange two folders in one step.
inline constexpr std::string_view asidePrefix = ".tarnwick-aside-";

/// Of all files of a copy together, in bytes.
inline constexpr std::uint64_t maxCopyBytes = 4ULL * 1024 * 1024 * 1024;

/// For which the receiver waits for the other process to write or to read.
inline constexpr std::chrono::seconds maxSilence{60};

/// Why something failed, in words for a log; absent when it did not.
using Failure = std::optional<std::string>;

/// "SUBJECT: " and what errno says.
[[nodiscard]] std::string systemFailure(std::string_view subject);

/// Writes all of @p bytes to a file. False, with the reason in errno, where some were not written.
[[nodiscard]] bool writeWhole(int descriptor, std::string_view bytes);

/// Writes a line of @p text to standard error, as far as that takes it at once: it may be a pipe
/// that nobody reads.
void log(const std::string &text);

} // namespace Tarnwick::CopyProtocol
