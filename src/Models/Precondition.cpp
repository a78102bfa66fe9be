// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Precondition.h"

#include <cstdio>
#include <cstdlib>

namespace Tarnwick {

void preconditionFailure(std::string_view rule) noexcept
{
    std::fprintf(stderr, "fatal: %.*s\n", static_cast<int>(rule.size()), rule.data());
    std::abort();
}

} // namespace Tarnwick
