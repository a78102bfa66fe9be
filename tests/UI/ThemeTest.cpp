// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/Theme.h"

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>

#include <string>
#include <vector>

using namespace Tarnwick;

namespace {

struct NamedColor
{
    const char *name;
    QColor color;
    QRgb expected;
    double opacity;
};

const std::vector<NamedColor> palette{
    {"background", Theme::background(), 0x0B1120, 1},
    {"textPrimary", Theme::textPrimary(), 0xE6EDF5, 1},
    {"textSecondary", Theme::textSecondary(), 0x8A98B0, 1},
    {"textTertiary", Theme::textTertiary(), 0x5D6B82, 1},
    {"accentGreen", Theme::accentGreen(), 0x4ADE80, 1},
    {"accentBlue", Theme::accentBlue(), 0x60A5FA, 1},
    {"accentPurple", Theme::accentPurple(), 0xA78BFA, 1},
    {"accentOrange", Theme::accentOrange(), 0xFB923C, 1},
    {"killRed", Theme::killRed(), 0xF43F5E, 1},
    {"systemRowTint", Theme::systemRowTint(), 0xFFFFFF, 0.025},
    {"hoverTint", Theme::hoverTint(), 0xFFFFFF, 0.07},
    {"border", Theme::border(), 0xFFFFFF, 0.08},
    {"borderStrong", Theme::borderStrong(), 0xFFFFFF, 0.14},
};

struct ProcessCase
{
    std::string process;
    PortTier tier;
    QColor expected;
};

const QColor system(71, 85, 105);
const QColor app(96, 165, 250);
const QColor dev(74, 222, 128);
const QColor unknown(251, 191, 36);

const std::vector<ProcessCase> processes{
    {"node", PortTier::Dev, Theme::accentGreen()},
    {"Node", PortTier::Dev, Theme::accentGreen()},
    {"DENO", PortTier::Dev, Theme::accentGreen()},
    {"bun", PortTier::Dev, Theme::accentGreen()},
    {"postgres", PortTier::Dev, Theme::accentBlue()},
    {"postgresql", PortTier::Dev, Theme::accentBlue()},
    {"python", PortTier::Dev, Theme::accentOrange()},
    {"python3", PortTier::Dev, Theme::accentOrange()},
    {"redis-server", PortTier::Dev, Theme::accentPurple()},
    {"valkey-server", PortTier::Dev, Theme::accentPurple()},
    {"beam.smp", PortTier::Dev, Theme::killRed()},
    {"ruby", PortTier::Dev, dev},
    {"node18", PortTier::Dev, dev},
    {"python3.12", PortTier::Dev, dev},
    {"", PortTier::Dev, dev},
    {"node", PortTier::App, app},
    {"beam.smp", PortTier::System, system},
    {"postgres", PortTier::Unknown, unknown},
};

} // namespace

TEST(Theme, HasTheColoursOfThePalette)
{
    for (const NamedColor &entry : palette) {
        EXPECT_EQ(entry.color.rgb() & 0xFFFFFFU, entry.expected) << entry.name;
        EXPECT_NEAR(entry.color.alphaF(), entry.opacity, 1e-4) << entry.name;
    }
}

TEST(Theme, OffersEveryColourToTheViews)
{
    const Theme theme;
    for (const NamedColor &entry : palette) {
        EXPECT_EQ(theme.property(entry.name).value<QColor>(), entry.color) << entry.name;
    }
}

TEST(Theme, TellsDevelopersProcessesByTheirWholeNameAndOthersByTheirTier)
{
    for (const ProcessCase &entry : processes) {
        EXPECT_EQ(Theme::processColor(entry.process, entry.tier).rgba(), entry.expected.rgba())
            << entry.process;
    }
}

TEST(Theme, MultipliesOpacityUpToTheFull)
{
    EXPECT_NEAR(Theme::withOpacity(Theme::border(), 0.5).alphaF(), 0.04, 1e-4);
    EXPECT_EQ(Theme::withOpacity(Theme::killRed(), 1.14).alphaF(), 1.0F);
    EXPECT_EQ(Theme::withOpacity(Qt::transparent, 1.14).alphaF(), 0.0F);
}

TEST(Theme, NamesTheDesktopsFixedFont)
{
    EXPECT_EQ(Theme::monospaced(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
    EXPECT_TRUE(QFontInfo(QFont(Theme::monospaced())).fixedPitch());
}
