// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/AnchoredPlacement.h"

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

const QRect screen(0, 0, 1280, 800);
const QSize size(260, 96);

QRect below(const QRect &anchor, int gap = 6, const QRect &area = screen)
{
    return AnchoredPlacement::below(anchor, size, gap, area);
}

} // namespace

TEST(AnchoredPlacement, HangsCentredBelowTheAnchor)
{
    EXPECT_EQ(below(QRect(600, 0, 24, 24)), QRect(QPoint(612 - 130, 24 + 6), size));
}

TEST(AnchoredPlacement, TouchesTheAnchorWithoutAGap)
{
    EXPECT_EQ(below(QRect(600, 0, 24, 24), 0).top(), 24);
}

TEST(AnchoredPlacement, StandsAboveWhereThereIsNoRoomBelow)
{
    EXPECT_EQ(below(QRect(600, 776, 24, 24)), QRect(QPoint(482, 776 - 6 - 96), size));
}

TEST(AnchoredPlacement, StaysWithinTheLeftAndRightEdges)
{
    EXPECT_EQ(below(QRect(1256, 0, 24, 24)), QRect(QPoint(1280 - 260, 30), size));
    EXPECT_EQ(below(QRect(0, 0, 24, 24)), QRect(QPoint(0, 30), size));
}

TEST(AnchoredPlacement, StaysWithinAScreenThatBeginsElsewhere)
{
    const QRect second(-1280, 100, 1280, 800);
    EXPECT_EQ(below(QRect(-10, 100, 10, 20), 6, second), QRect(QPoint(-260, 126), size));
    EXPECT_EQ(below(QRect(-1280, 880, 10, 20), 6, second), QRect(QPoint(-1280, 778), size));
}

TEST(AnchoredPlacement, TakesAPointForAnAnchor)
{
    EXPECT_EQ(below(QRect(1279, 27, 0, 0), 0), QRect(QPoint(1020, 27), size));
}

TEST(AnchoredPlacement, StaysWithinTheScreenBesideAnAnchorInItsMiddle)
{
    const QRect low(0, 0, 300, 150);
    EXPECT_EQ(below(QRect(100, 70, 20, 20), 6, low), QRect(QPoint(0, 54), size));
}

TEST(AnchoredPlacement, ShowsTheTopLeftCornerOfWhatIsLargerThanTheScreen)
{
    EXPECT_EQ(below(QRect(50, 0, 10, 10), 6, QRect(0, 0, 200, 60)).topLeft(), QPoint(0, 0));
}
