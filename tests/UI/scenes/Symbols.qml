// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

Grid {
    columns: 5
    spacing: 12
    padding: 12

    Repeater {
        model: [10, 12, 13, 20, 40]

        Row {
            id: line

            required property int modelData

            spacing: 10

            Repeater {
                model: ["network", "gearshape", "magnifyingglass", "xmark.circle.fill", "info.circle"]

                Symbol {
                    required property string modelData

                    name: modelData
                    pixelSize: line.modelData
                    color: Theme.textPrimary
                }
            }
        }
    }
}
