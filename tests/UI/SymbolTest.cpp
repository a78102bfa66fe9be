// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/Symbol.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <string>

using namespace Tarnwick;

namespace {

const QStringList symbolNames{QStringLiteral("network"), QStringLiteral("gearshape"),
                              QStringLiteral("magnifyingglass"),
                              QStringLiteral("xmark.circle.fill"), QStringLiteral("info.circle")};

QImage drawn(const QString &name, const QColor &color, double scale)
{
    Symbol symbol;
    symbol.setName(name);
    symbol.setColor(color);
    symbol.setPixelSize(13);
    symbol.setSize({symbol.implicitWidth(), symbol.implicitHeight()});
    const int side = static_cast<int>(symbol.width() * scale);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    symbol.paint(&painter);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

/// How much of the picture is covered, from 0 to 1.
double coverage(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += image.pixelColor(x, y).alphaF();
        }
    }
    return sum / (image.width() * image.height());
}

} // namespace

TEST(Symbol, IsAFifthLargerThanItsFont)
{
    Symbol symbol;
    for (const auto &[font, side] : {std::pair(10, 12), std::pair(12, 15), std::pair(13, 16)}) {
        symbol.setPixelSize(font);
        EXPECT_EQ(symbol.implicitWidth(), side);
        EXPECT_EQ(symbol.implicitHeight(), side);
    }
}

TEST(Symbol, DrawsEveryShapeInItsColourOnly)
{
    for (const QString &name : symbolNames) {
        const QImage image = drawn(name, QColor(244, 63, 94), 2);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() > 200) {
                    ASSERT_NEAR(pixel.red(), 244, 2) << qPrintable(name);
                    ASSERT_NEAR(pixel.green(), 63, 2) << qPrintable(name);
                }
            }
        }
    }
}

TEST(Symbol, HasTheSameWeightAtEveryScale)
{
    for (const QString &name : symbolNames) {
        const double once = coverage(drawn(name, Qt::white, 1));
        EXPECT_GT(once, 0.08) << qPrintable(name);
        EXPECT_LT(once, 0.75) << qPrintable(name);
        for (const double scale : {1.5, 2.0}) {
            EXPECT_NEAR(coverage(drawn(name, Qt::white, scale)), once, 0.05) << qPrintable(name);
        }
    }
}

TEST(Symbol, IsSharpAtEveryScale)
{
    for (const QString &name : symbolNames) {
        for (const double scale : {1.0, 1.5, 2.0}) {
            const QImage image = drawn(name, Qt::white, scale);
            int strongest = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    strongest = std::max(strongest, image.pixelColor(x, y).alpha());
                }
            }
            EXPECT_GT(strongest, 180) << qPrintable(name) << ' ' << scale;
        }
    }
}

TEST(Symbol, TakesANameWithoutADrawingForAProgrammingError)
{
    Symbol symbol;
    EXPECT_DEATH(symbol.setName(QStringLiteral("nothing")), "drawing");
}
