// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "UI/PanelModel.h"

#include <QObject>
#include <QQmlEngine>

namespace Tarnwick {

/// The panel of the program, on the shared services. Made when QML asks for it first. Main thread.
class SharedPanel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(Tarnwick::PanelModel *model READ model CONSTANT FINAL)

public:
    explicit SharedPanel(QObject *parent = nullptr);

    [[nodiscard]] PanelModel *model() { return &m_model; }

private:
    PanelModel m_model;
};

} // namespace Tarnwick
