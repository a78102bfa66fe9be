// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The contract between the application and its helper: where the helper is found, what it is
/// asked, and the numbers that it answers a kill with.
namespace HelperProtocol {

inline constexpr std::string_view serviceName = "com.velmora.tarnwick.helper";
inline constexpr std::string_view objectPath = "/com/velmora/tarnwick/helper";
inline constexpr std::string_view interfaceName = "com.velmora.tarnwick.helper";

/// The argument that has the helper take its name over from another helper.
inline constexpr std::string_view replaceOption = "--replace";

} // namespace HelperProtocol

/// The helper's answer to a kill.
enum class KillResultCode : std::int32_t {
    Terminated = 0,       ///< the process was ended
    ForceKilled = 1,      ///< the process had to be killed forcibly
    PermissionDenied = 2, ///< the helper was not allowed to signal the process, or refused to
    NotFound = 3,         ///< no such process exists (it had already exited)
};

/// The code with that number, or nothing for any but 0 to 3.
[[nodiscard]] std::optional<KillResultCode> killResultCodeFromRawValue(std::int32_t value);

/// What became of a kill, seen from the application. The first four have the numbers of the codes.
enum class KillResult {
    Terminated,
    Force,
    PermissionDenied,
    NotFound,
    XpcUnavailable, ///< the helper could not be asked, or answered with an error
};

inline constexpr std::array<KillResult, 5> allKillResults{
    KillResult::Terminated, KillResult::Force, KillResult::PermissionDenied, KillResult::NotFound,
    KillResult::XpcUnavailable};

/// The result that the helper's number stands for. A number that is no code is taken as a refusal
/// on purpose, never as success.
[[nodiscard]] KillResult killResultFromReply(std::int32_t code);

/// The line, without its line feed, that tells the outcome of a kill of the listener on @p port:
/// "[kill] :3000 terminated" and its like.
[[nodiscard]] std::string killOutcomeLine(KillResult result, std::int64_t port);

} // namespace Tarnwick
