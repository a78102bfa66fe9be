// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LaunchContext.h"

namespace Tarnwick {

/// What the command line tells: the file in the autostart folder starts the application with
/// `--login-item`.
class ArgumentLaunchContext : public LaunchContext
{
public:
    explicit ArgumentLaunchContext(bool saysLoginItem)
        : m_isLoginItem(saysLoginItem)
    {
    }

    [[nodiscard]] bool isLoginItem() const override { return m_isLoginItem; }

private:
    bool m_isLoginItem;
};

} // namespace Tarnwick
