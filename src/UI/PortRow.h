// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

#include <QColor>
#include <QObject>
#include <QQmlEngine>
#include <QString>

#include <memory>
#include <string_view>

namespace Tarnwick {

/// One listener as the views show it: every text and colour of its row and of its confirmation.
/// A value, cheap to copy; a default-constructed one shows nothing. Control characters, line
/// breaks included, are shown as blanks. Main thread.
class PortRow
{
    Q_GADGET
    QML_VALUE_TYPE(portRow)
    Q_PROPERTY(QString port READ port CONSTANT FINAL)
    Q_PROPERTY(QColor processColor READ processColor CONSTANT FINAL)
    Q_PROPERTY(QString tier READ tier CONSTANT FINAL)
    Q_PROPERTY(QColor tierColor READ tierColor CONSTANT FINAL)
    Q_PROPERTY(QString description READ description CONSTANT FINAL)
    Q_PROPERTY(QString processSuffix READ processSuffix CONSTANT FINAL)
    Q_PROPERTY(QString command READ command CONSTANT FINAL)
    Q_PROPERTY(QString folder READ folder CONSTANT FINAL)
    Q_PROPERTY(QString pid READ pid CONSTANT FINAL)
    Q_PROPERTY(QString memory READ memory CONSTANT FINAL)
    Q_PROPERTY(QString settingsLink READ settingsLink CONSTANT FINAL)
    Q_PROPERTY(QString killDetail READ killDetail CONSTANT FINAL)
    Q_PROPERTY(QString accessibleName READ accessibleName CONSTANT FINAL)
    Q_PROPERTY(QString accessibleDescription READ accessibleDescription CONSTANT FINAL)
    Q_PROPERTY(bool system READ isSystem CONSTANT FINAL)
    Q_PROPERTY(double openedAt READ openedAt CONSTANT FINAL)
    Q_PROPERTY(bool owned READ isOwned CONSTANT FINAL)

public:
    PortRow();
    /// @p home is the folder that is written "~".
    PortRow(SharedPortEntry entry, std::string_view home);

    /// Null for a default-constructed row.
    [[nodiscard]] const std::shared_ptr<const PortEntry> &entry() const { return m_entry; }

    /// ":3000"
    [[nodiscard]] QString port() const;
    [[nodiscard]] QColor processColor() const;
    /// "DEV"
    [[nodiscard]] QString tier() const;
    [[nodiscard]] QColor tierColor() const;
    [[nodiscard]] QString description() const;
    /// "· node"; empty when the description says the same, but for case.
    [[nodiscard]] QString processSuffix() const;
    [[nodiscard]] QString command() const;
    /// "in ~/site"; empty when the working directory tells nothing.
    [[nodiscard]] QString folder() const;
    /// "pid 812"
    [[nodiscard]] QString pid() const;
    /// Empty when the memory is not known.
    [[nodiscard]] QString memory() const;
    /// The pane of the system's settings; empty when there is none.
    [[nodiscard]] QString settingsLink() const;
    /// ":5432 · postgres · PID 812"
    [[nodiscard]] QString killDetail() const;
    /// "node, port 3000, dev"
    [[nodiscard]] QString accessibleName() const;
    /// The command line and the working directory.
    [[nodiscard]] QString accessibleDescription() const;
    [[nodiscard]] bool isSystem() const;
    /// In milliseconds since 1970; means nothing when no owner is known.
    [[nodiscard]] double openedAt() const;
    /// Whether it is known which process the port belongs to.
    [[nodiscard]] bool isOwned() const;

    /// Whether both show the same entry.
    friend bool operator==(const PortRow &left, const PortRow &right);

private:
    struct Texts;

    [[nodiscard]] static std::shared_ptr<const Texts> textsOf(const PortEntry &entry,
                                                              std::string_view home);

    std::shared_ptr<const PortEntry> m_entry;
    std::shared_ptr<const Texts> m_texts;
};

} // namespace Tarnwick
