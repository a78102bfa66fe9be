// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

namespace Tarnwick {

/// Changes one environment variable until the end of a scope. For tests in which no other thread
/// reads the environment meanwhile.
class ScopedEnvironment
{
public:
    /// Without a value, the variable is unset.
    ScopedEnvironment(std::string name, const std::optional<std::string> &value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment &) = delete;
    ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_previous;
};

} // namespace Tarnwick
