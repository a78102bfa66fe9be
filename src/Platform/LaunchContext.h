// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// How this process came to be started.
class LaunchContext
{
public:
    LaunchContext() = default;
    virtual ~LaunchContext() = default;
    LaunchContext(const LaunchContext &) = delete;
    LaunchContext &operator=(const LaunchContext &) = delete;

    /// Whether the desktop started it by itself as the user's session began.
    [[nodiscard]] virtual bool isLoginItem() const = 0;
};

} // namespace Tarnwick
