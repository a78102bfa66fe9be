// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/AnchoredPlacement.h"

#include <QPoint>

#include <algorithm>

namespace Tarnwick {

namespace {

/// The start nearest to @p wish of a span of @p length within [@p first, @p first + @p room).
int moveInto(int wish, int length, int first, int room)
{
    return std::max(first, std::min(wish, first + room - length));
}

} // namespace

QRect AnchoredPlacement::below(const QRect &anchor, QSize size, int gap, const QRect &area)
{
    const int under = anchor.y() + anchor.height() + gap;
    const int above = anchor.y() - gap - size.height();
    const bool fitsUnder = under + size.height() <= area.y() + area.height();
    const int x = anchor.x() + anchor.width() / 2 - size.width() / 2;
    const int y = fitsUnder || above < area.y() ? under : above;
    return {QPoint(moveInto(x, size.width(), area.x(), area.width()),
                   moveInto(y, size.height(), area.y(), area.height())),
            size};
}

} // namespace Tarnwick
