// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/HelperProtocol.h"

#include <cstddef>

namespace Tarnwick {

namespace {

/// What follows the port in a result's line. Indexed by the result's number, which is also its
/// code's.
constexpr std::array<std::string_view, 4> outcomes{"terminated", "force-killed",
                                                   "permission denied", "already gone"};

} // namespace

std::optional<KillResultCode> killResultCodeFromRawValue(std::int32_t value)
{
    if (value < 0 || value > static_cast<std::int32_t>(KillResultCode::NotFound)) {
        return std::nullopt;
    }
    return static_cast<KillResultCode>(value);
}

KillResult killResultFromReply(std::int32_t code)
{
    const std::optional<KillResultCode> known = killResultCodeFromRawValue(code);
    return known ? allKillResults[static_cast<std::size_t>(*known)] : KillResult::PermissionDenied;
}

std::string killOutcomeLine(KillResult result, std::int64_t port)
{
    if (result == KillResult::XpcUnavailable) {
        return "[kill] helper XPC unavailable \u2014 is it registered?";
    }
    std::string line = "[kill] :" + std::to_string(port) + ' ';
    line += outcomes[static_cast<std::size_t>(result)];
    return line;
}

} // namespace Tarnwick
