// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What narrows the list: the tabs and the search.
Item {
    id: root

    required property PanelModel panel

    function focusSearch(): void {
        search.takeFocus();
    }

    implicitHeight: 16 + Math.max(tabs.height, search.height)

    Row {
        id: tabs

        x: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 4
        Accessible.role: Accessible.PageTabList
        Accessible.name: "Tiers"

        Repeater {
            model: root.panel.tabCounts.length

            TierTab {
                required property int index

                panel: root.panel
                filter: index
            }
        }
    }
    SearchField {
        id: search

        anchors.right: parent.right
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        panel: root.panel
    }
}
