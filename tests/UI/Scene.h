// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

namespace Tarnwick {

/// A picture of the interface in one state: a QML file of tests/UI/scenes. Its root item has the
/// size of the picture; where it has a property `hoverAt`, the pointer is there.
class Scene
{
public:
    Scene() = delete;

    [[nodiscard]] static QStringList names();

    /// The scene as it looks when everything that moves has come to rest; null when it does not
    /// load.
    [[nodiscard]] static QImage picture(const QString &name);
};

} // namespace Tarnwick
