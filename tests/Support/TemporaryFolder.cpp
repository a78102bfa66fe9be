// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <unistd.h>

namespace Tarnwick {

namespace {

std::filesystem::path makeFolder()
{
    std::string name = std::filesystem::temp_directory_path() / "tarnwick-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    return name;
}

} // namespace

TemporaryFolder::TemporaryFolder()
    : m_path(makeFolder())
    , m_owner(getpid())
{
}

TemporaryFolder::~TemporaryFolder()
{
    if (m_owner == getpid()) {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
}

} // namespace Tarnwick
