// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyProtocol.h"

#include "Shared/WriteAll.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

namespace Tarnwick::CopyProtocol {

std::string systemFailure(std::string_view subject)
{
    return std::string(subject) + ": " + std::generic_category().message(errno);
}

bool writeWhole(int descriptor, std::string_view bytes)
{
    return writeAll(descriptor, bytes) == bytes.size();
}

void log(const std::string &text)
{
    static_cast<void>(writeAvailable(STDERR_FILENO, "tarnwick-install: " + text + '\n'));
}

} // namespace Tarnwick::CopyProtocol
