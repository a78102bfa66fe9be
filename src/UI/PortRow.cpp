// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PortRow.h"

#include "Models/ByteCount.h"
#include "Models/Precondition.h"
#include "Shared/EntryText.h"
#include "UI/Theme.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace Tarnwick {

/// What is made once for a row, for it is asked for often.
struct PortRow::Texts
{
    QString process;
    QString description;
    QString processSuffix;
    QString command;
    QString folder;
    QString memory;
};

namespace {

/// Whether @p c, of a text that anybody may have chosen, would break the line, or change the order
/// in which what is beside it is written.
bool disturbs(QChar c)
{
    switch (c.direction()) {
    case QChar::DirLRE:
    case QChar::DirLRO:
    case QChar::DirRLE:
    case QChar::DirRLO:
    case QChar::DirPDF:
    case QChar::DirLRI:
    case QChar::DirRLI:
    case QChar::DirFSI:
    case QChar::DirPDI:
        return true;
    default:
        break;
    }
    constexpr std::array<char16_t, 3> marks{u'\u061c', u'\u200e', u'\u200f'};
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
           c.category() == QChar::Separator_Paragraph || std::ranges::count(marks, c) > 0;
}

QString shown(std::string_view text)
{
    QString result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (std::ranges::any_of(std::as_const(result), disturbs)) {
        std::ranges::replace_if(result, disturbs, QChar(u' '));
    }
    return result;
}

/// @p text so that it leaves the order of what is written beside it alone, even when it is itself
/// written from the right: between the isolates of the Unicode bidirectional algorithm.
QString isolated(const QString &text)
{
    const auto isFromTheRight = [](QChar c) {
        return c.direction() == QChar::DirR || c.direction() == QChar::DirAL ||
               c.direction() == QChar::DirAN || c.isSurrogate();
    };
    if (std::ranges::none_of(text, isFromTheRight)) {
        return text;
    }
    return QChar(u'\u2068') + text + QChar(u'\u2069');
}

/// Whether the two differ only in case, as the user's language tells it.
bool areAlike(const QString &left, const QString &right)
{
    const QLocale locale = QLocale::system();
    return locale.toLower(left) == locale.toLower(right);
}

QString memoryText(std::uint64_t bytes)
{
    if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        preconditionFailure("a memory figure must fit in 63 bits");
    }
    return bytes == 0 ? QString() : QString::fromStdString(ByteCount::format(bytes));
}

} // namespace

std::shared_ptr<const PortRow::Texts> PortRow::textsOf(const PortEntry &entry,
                                                       std::string_view home)
{
    Texts texts;
    texts.process = shown(entry.process);
    texts.description = shown(entry.description);
    if (!areAlike(texts.process, texts.description)) {
        texts.processSuffix = QStringLiteral("· ") + texts.process;
    }
    texts.command = shown(EntryText::fullCommand(entry, home));
    if (const auto folder = EntryText::displayCwd(entry, home)) {
        texts.folder = QStringLiteral("in ") + shown(*folder);
    }
    texts.memory = memoryText(entry.memoryBytes);
    return std::make_shared<const Texts>(std::move(texts));
}

PortRow::PortRow()
    : m_texts(std::make_shared<const Texts>())
{
}

PortRow::PortRow(SharedPortEntry entry, std::string_view home)
    : m_entry(std::move(entry))
    , m_texts(textsOf(*m_entry, home))
{
}

QString PortRow::port() const
{
    return m_entry ? QStringLiteral(":%1").arg(m_entry->port) : QString();
}

QColor PortRow::processColor() const
{
    return m_entry ? Theme::processColor(m_entry->process, m_entry->tier) : QColor();
}

QString PortRow::tier() const
{
    return m_entry ? shown(rawValue(m_entry->tier)).toUpper() : QString();
}

QColor PortRow::tierColor() const
{
    return m_entry ? Theme::fromColor(accentColor(m_entry->tier)) : QColor();
}

QString PortRow::description() const
{
    return m_texts->description;
}

QString PortRow::processSuffix() const
{
    return m_texts->processSuffix;
}

QString PortRow::command() const
{
    return m_texts->command;
}

QString PortRow::folder() const
{
    return m_texts->folder;
}

QString PortRow::pid() const
{
    return m_entry ? QStringLiteral("pid %1").arg(m_entry->pid) : QString();
}

QString PortRow::memory() const
{
    return m_texts->memory;
}

QString PortRow::settingsLink() const
{
    return m_entry ? shown(m_entry->settingsLink.value_or(std::string())) : QString();
}

QString PortRow::killDetail() const
{
    if (!m_entry) {
        return {};
    }
    return QStringLiteral(":%1 · ").arg(m_entry->port) + isolated(m_texts->process) +
           QStringLiteral(" · PID %1").arg(m_entry->pid);
}

QString PortRow::accessibleName() const
{
    if (!m_entry) {
        return {};
    }
    return m_texts->description + QStringLiteral(", port %1, ").arg(m_entry->port) +
           shown(rawValue(m_entry->tier));
}

QString PortRow::accessibleDescription() const
{
    if (m_texts->folder.isEmpty()) {
        return m_texts->command;
    }
    return m_texts->command + u' ' + m_texts->folder;
}

bool PortRow::isSystem() const
{
    return m_entry && m_entry->tier == PortTier::System;
}

double PortRow::openedAt() const
{
    return m_entry ? static_cast<double>(m_entry->openedAt.time_since_epoch().count()) : 0.0;
}

bool PortRow::isOwned() const
{
    return m_entry && m_entry->pid != 0;
}

bool operator==(const PortRow &left, const PortRow &right)
{
    if (!left.m_entry || !right.m_entry) {
        return left.m_entry == right.m_entry;
    }
    return left.m_entry->id == right.m_entry->id;
}

} // namespace Tarnwick
