// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyProtocol.h"

#include <cerrno>
#include <system_error>

namespace Tarnwick::CopyProtocol {

std::string systemFailure(std::string_view subject)
{
    return std::string(subject) + ": " + std::generic_category().message(errno);
}

} // namespace Tarnwick::CopyProtocol
