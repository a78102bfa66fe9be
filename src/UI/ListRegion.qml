// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The list, or why there is none.
Item {
    id: root

    required property PanelModel panel

    PortListView {
        anchors.fill: parent
        visible: root.panel.region === PanelModel.List
        rows: root.panel.rows
        onKillRequested: entry => root.panel.requestKill(entry)
    }
    OnDemand {
        when: root.panel.region === PanelModel.Empty

        MessageState {
            anchors.fill: root
            heading: "NO LISTENERS"
            line: "Nothing is bound to a port right now."
        }
    }
    OnDemand {
        when: root.panel.region === PanelModel.NoMatches

        MessageState {
            anchors.fill: root
            heading: "NO MATCHES"
            line: "Try a different search or filter."
        }
    }
}
