// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/StoredBool.h"

#include <QMetaType>
#include <QStringList>
#include <QVariant>

namespace Tarnwick {

namespace {

bool isOneOf(const QString &word, const QStringList &words)
{
    return words.contains(word, Qt::CaseInsensitive);
}

} // namespace

std::optional<bool> storedBool(const QVariant &value)
{
    // A list of words is of another type.
    if (value.typeId() != QMetaType::QString && value.typeId() != QMetaType::Bool &&
        value.typeId() != QMetaType::Int) {
        return std::nullopt;
    }
    const QString word = value.toString().trimmed();
    if (isOneOf(word, {QStringLiteral("true"), QStringLiteral("yes"), QStringLiteral("on"),
                       QStringLiteral("1")})) {
        return true;
    }
    if (isOneOf(word, {QStringLiteral("false"), QStringLiteral("no"), QStringLiteral("off"),
                       QStringLiteral("0")})) {
        return false;
    }
    return std::nullopt;
}

} // namespace Tarnwick
