// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/Theme.h"

#include <QFontDatabase>

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

struct ProcessColor
{
    QLatin1StringView process; ///< in lower case
    QColor (*color)();
};

constexpr std::array<ProcessColor, 10> processColors{{
    {QLatin1StringView("node"), &Theme::accentGreen},
    {QLatin1StringView("deno"), &Theme::accentGreen},
    {QLatin1StringView("bun"), &Theme::accentGreen},
    {QLatin1StringView("postgres"), &Theme::accentBlue},
    {QLatin1StringView("postgresql"), &Theme::accentBlue},
    {QLatin1StringView("python"), &Theme::accentOrange},
    {QLatin1StringView("python3"), &Theme::accentOrange},
    {QLatin1StringView("redis-server"), &Theme::accentPurple},
    {QLatin1StringView("valkey-server"), &Theme::accentPurple},
    {QLatin1StringView("beam.smp"), &Theme::killRed},
}};

} // namespace

QString Theme::monospaced()
{
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

QColor Theme::withOpacity(const QColor &color, double factor)
{
    QColor result = color;
    result.setAlphaF(static_cast<float>(std::clamp(color.alphaF() * factor, 0.0, 1.0)));
    return result;
}

QColor Theme::fromColor(const Color &color)
{
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.opacity));
}

QColor Theme::processColor(std::string_view process, PortTier tier)
{
    const QColor tierColor = fromColor(accentColor(tier));
    if (tier != PortTier::Dev) {
        return tierColor;
    }
    const QString name =
        QString::fromUtf8(process.data(), static_cast<qsizetype>(process.size())).toLower();
    const auto *const known = std::ranges::find_if(
        processColors, [&name](const ProcessColor &entry) { return entry.process == name; });
    return known == processColors.end() ? tierColor : known->color();
}

} // namespace Tarnwick
