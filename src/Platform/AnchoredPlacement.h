// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRect>
#include <QSize>

namespace Tarnwick {

/// The geometry of a window that belongs to a place on the screen.
class AnchoredPlacement
{
public:
    AnchoredPlacement() = delete;

    /// Where a window of @p size goes that hangs centred below @p anchor, @p gap away from it; it
    /// stands above the anchor where there is room for it only there. It is moved into @p area as
    /// far as it would leave it; one that is larger than the area shows its top left corner.
    [[nodiscard]] static QRect below(const QRect &anchor, QSize size, int gap, const QRect &area);
};

} // namespace Tarnwick
