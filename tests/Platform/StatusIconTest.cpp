// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/StatusIcon.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QPixmap>

#include <algorithm>
#include <utility>

namespace Tarnwick {
namespace {

constexpr int dark = 60;
constexpr int light = 200;

/// How dark and how light the picture gets where it hides the tray.
std::pair<int, int> lightnessOf(StatusIcon::Tray tray)
{
    const QImage picture = StatusIcon::forTray(tray).pixmap(QSize(44, 44)).toImage();
    std::pair<int, int> range{255, 0};
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            if (color.alpha() == 255) {
                range.first = std::min(range.first, color.lightness());
                range.second = std::max(range.second, color.lightness());
            }
        }
    }
    return range;
}

TEST(StatusIcon, IsDarkOnALightTray)
{
    const auto [darkest, lightest] = lightnessOf(StatusIcon::Tray::Light);
    EXPECT_LT(darkest, dark);
    EXPECT_LT(lightest, dark);
}

TEST(StatusIcon, IsLightOnADarkTray)
{
    const auto [darkest, lightest] = lightnessOf(StatusIcon::Tray::Dark);
    EXPECT_GT(darkest, light);
    EXPECT_GT(lightest, light);
}

TEST(StatusIcon, IsSeenOnATrayOfUnknownColour)
{
    const auto [darkest, lightest] = lightnessOf(StatusIcon::Tray::Unknown);
    EXPECT_LT(darkest, dark);
    EXPECT_GT(lightest, light);
}

TEST(StatusIcon, HasTheSizesOfTraysAtEachScale)
{
    const QList<QSize> sizes = StatusIcon::forTray(StatusIcon::Tray::Dark).availableSizes();
    for (const int side : {16, 22, 24, 32, 33, 44}) {
        EXPECT_TRUE(sizes.contains(QSize(side, side))) << side;
    }
}

} // namespace
} // namespace Tarnwick
