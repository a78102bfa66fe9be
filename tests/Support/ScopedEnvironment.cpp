// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/ScopedEnvironment.h"

#include <cstdlib>
#include <utility>

namespace Tarnwick {

namespace {

std::optional<std::string> valueOf(const std::string &name)
{
    const char *const value = getenv(name.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

void change(const std::string &name, const std::optional<std::string> &value)
{
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string> &value)
    : m_name(std::move(name))
    , m_previous(valueOf(m_name))
{
    change(m_name, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
    change(m_name, m_previous);
}

} // namespace Tarnwick
