// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QIcon>

#include <cstdint>

namespace Tarnwick {

/// The picture of the status item: a network, drawn in one colour that stands out from the tray.
class StatusIcon
{
public:
    enum class Tray : std::uint8_t {
        Light,
        Dark,
        Unknown, ///< drawn so that it can be seen on either
    };

    StatusIcon() = delete;

    /// In the sizes that trays have on displays of usual and of high density.
    [[nodiscard]] static QIcon forTray(Tray tray);
};

} // namespace Tarnwick
