// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LaunchContext.h"

namespace Tarnwick {

/// The start that a test says.
class FakeLaunchContext : public LaunchContext
{
public:
    [[nodiscard]] bool isLoginItem() const override { return loginItem; }

    bool loginItem = false;
};

} // namespace Tarnwick
