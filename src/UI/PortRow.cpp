// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PortRow.h"

#include "Models/ByteCount.h"
#include "Models/Precondition.h"
#include "Shared/EntryText.h"
#include "UI/Theme.h"

#include <QLocale>

#include <algorithm>
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

QString shown(std::string_view text)
{
    QString result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    const auto breaksLine = [](QChar c) {
        return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
               c.category() == QChar::Separator_Paragraph;
    };
    if (std::ranges::any_of(std::as_const(result), breaksLine)) {
        std::ranges::replace_if(result, breaksLine, QChar(u' '));
    }
    return result;
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
    return QStringLiteral(":%1 · ").arg(m_entry->port) + m_texts->process +
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

bool operator==(const PortRow &left, const PortRow &right)
{
    if (!left.m_entry || !right.m_entry) {
        return left.m_entry == right.m_entry;
    }
    return left.m_entry->id == right.m_entry->id;
}

} // namespace Tarnwick
