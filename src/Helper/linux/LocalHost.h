// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace Tarnwick {

/// Whether @p host, a name or a numeric address with or without brackets, is this machine: a
/// loopback or unspecified address, one of its own, "localhost", a name in that domain or its own
/// name. Asks no name service, so another name of this machine is none. Any thread.
[[nodiscard]] bool isLocalHost(std::string_view host);

/// Whether @p host is this machine or may be: every name may, as a name service has the last word.
/// False for numeric addresses of other machines. Any thread.
[[nodiscard]] bool mayBeLocalHost(std::string_view host);

} // namespace Tarnwick
