// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/StatusIcon.h"

#include <QRect>

namespace Tarnwick {

/// What the tray looks like behind an icon.
class TrayBackground
{
public:
    TrayBackground() = delete;

    /// As the screen shows it around the rectangle @p icon; `Unknown` for an empty rectangle, and
    /// where a program may not look at the screen.
    [[nodiscard]] static StatusIcon::Tray at(const QRect &icon);
};

} // namespace Tarnwick
