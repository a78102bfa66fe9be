// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/ApplicationIcon.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>

using namespace Tarnwick;

namespace {

constexpr int side = 96;

/// Lets the application have an icon of @p size in red, or none when that is empty.
class ApplicationIconTest : public testing::Test
{
protected:
    ~ApplicationIconTest() override { QGuiApplication::setWindowIcon({}); }

    static void setIcon(QSize size)
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::red);
        QGuiApplication::setWindowIcon(QIcon(pixmap));
    }
};

} // namespace

TEST_F(ApplicationIconTest, IsAbsentWhereTheApplicationHasNone)
{
    EXPECT_FALSE(ApplicationIcon().isPresent());
}

TEST_F(ApplicationIconTest, IsStretchedToItsItem)
{
    setIcon({32, 32});
    ApplicationIcon icon;
    ASSERT_TRUE(icon.isPresent());
    icon.setSize({side, side});
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    icon.paint(&painter);
    painter.end();
    for (const QPoint place :
         {QPoint(1, 1), QPoint(side / 2, side / 2), QPoint(side - 2, side - 2)}) {
        EXPECT_EQ(image.pixelColor(place), QColor(Qt::red));
    }
}
