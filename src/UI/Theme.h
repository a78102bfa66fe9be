// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Color.h"
#include "Models/PortTier.h"

#include <QColor>
#include <QObject>
#include <QQmlEngine>
#include <QString>

#include <string_view>

namespace Tarnwick {

/// The one palette of the interface, which is always dark, and the sizes of its text styles.
/// Colours that only one view has stand in that view. It names no fonts but those of the desktop.
/// Main thread.
class Theme : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor background READ background CONSTANT FINAL)
    Q_PROPERTY(QColor textPrimary READ textPrimary CONSTANT FINAL)
    Q_PROPERTY(QColor textSecondary READ textSecondary CONSTANT FINAL)
    Q_PROPERTY(QColor textTertiary READ textTertiary CONSTANT FINAL)
    Q_PROPERTY(QColor accentGreen READ accentGreen CONSTANT FINAL)
    Q_PROPERTY(QColor accentBlue READ accentBlue CONSTANT FINAL)
    Q_PROPERTY(QColor accentPurple READ accentPurple CONSTANT FINAL)
    Q_PROPERTY(QColor accentOrange READ accentOrange CONSTANT FINAL)
    Q_PROPERTY(QColor killRed READ killRed CONSTANT FINAL)
    Q_PROPERTY(QColor systemRowTint READ systemRowTint CONSTANT FINAL)
    Q_PROPERTY(QColor hoverTint READ hoverTint CONSTANT FINAL)
    Q_PROPERTY(QColor border READ border CONSTANT FINAL)
    Q_PROPERTY(QColor borderStrong READ borderStrong CONSTANT FINAL)
    Q_PROPERTY(QColor focusRing READ focusRing CONSTANT FINAL)
    Q_PROPERTY(QColor selection READ selection CONSTANT FINAL)
    Q_PROPERTY(QColor helpTag READ helpTag CONSTANT FINAL)
    Q_PROPERTY(QColor scrollThumb READ scrollThumb CONSTANT FINAL)
    Q_PROPERTY(QColor formBox READ formBox CONSTANT FINAL)
    Q_PROPERTY(QColor controlTrack READ controlTrack CONSTANT FINAL)
    Q_PROPERTY(QColor controlKnob READ controlKnob CONSTANT FINAL)
    Q_PROPERTY(int bodySize READ bodySize CONSTANT FINAL)
    Q_PROPERTY(int calloutSize READ calloutSize CONSTANT FINAL)
    Q_PROPERTY(int captionSize READ captionSize CONSTANT FINAL)
    Q_PROPERTY(int title2Size READ title2Size CONSTANT FINAL)
    Q_PROPERTY(QString monospaced READ monospaced CONSTANT FINAL)

public:
    using QObject::QObject;

    [[nodiscard]] static QColor background() { return {11, 17, 32}; }
    [[nodiscard]] static QColor textPrimary() { return {230, 237, 245}; }
    [[nodiscard]] static QColor textSecondary() { return {138, 152, 176}; }
    [[nodiscard]] static QColor textTertiary() { return {93, 107, 130}; }
    [[nodiscard]] static QColor accentGreen() { return {74, 222, 128}; }
    [[nodiscard]] static QColor accentBlue() { return {96, 165, 250}; }
    [[nodiscard]] static QColor accentPurple() { return {167, 139, 250}; }
    [[nodiscard]] static QColor accentOrange() { return {251, 146, 60}; }
    [[nodiscard]] static QColor killRed() { return {244, 63, 94}; }

    // White at different strengths.
    [[nodiscard]] static QColor systemRowTint() { return white(0.025); }
    [[nodiscard]] static QColor hoverTint() { return white(0.07); }
    [[nodiscard]] static QColor border() { return white(0.08); }
    [[nodiscard]] static QColor borderStrong() { return white(0.14); }

    // What a control shows that is reached by keyboard, behind selected text, behind a tooltip, and
    // where a list is scrolled to.
    [[nodiscard]] static QColor focusRing() { return withOpacity(accentBlue(), 0.8); }
    [[nodiscard]] static QColor selection() { return withOpacity(accentBlue(), 0.35); }
    [[nodiscard]] static QColor helpTag() { return {30, 39, 58}; }
    [[nodiscard]] static QColor scrollThumb() { return white(0.22); }

    // The box of a form's group, and what slides in what.
    [[nodiscard]] static QColor formBox() { return white(0.035); }
    [[nodiscard]] static QColor controlTrack() { return white(0.16); }
    [[nodiscard]] static QColor controlKnob() { return {240, 244, 250}; }

    // The text styles of a desktop's forms and titles, in pixels.
    [[nodiscard]] static int bodySize() { return 13; }
    [[nodiscard]] static int calloutSize() { return 12; }
    [[nodiscard]] static int captionSize() { return 10; }
    [[nodiscard]] static int title2Size() { return 17; }

    /// The family of the desktop's fixed font. The font of everything else is the application's.
    [[nodiscard]] static QString monospaced();

    [[nodiscard]] static QColor white(double opacity) { return withOpacity(Qt::white, opacity); }

    /// @p color with its opacity multiplied by @p factor, at most full.
    Q_INVOKABLE static QColor withOpacity(const QColor &color, double factor);

    [[nodiscard]] static QColor fromColor(const Color &color);

    /// The colour that a process is told by: well-known developer processes have one of their own,
    /// by their whole name in any case; all others have that of their tier.
    [[nodiscard]] static QColor processColor(std::string_view process, PortTier tier);
};

} // namespace Tarnwick
