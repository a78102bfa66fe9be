// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The panel: title, filters, banner, list and footer, and over them the confirmation of a kill.
Rectangle {
    id: root

    required property PanelModel panel
    readonly property bool isConfirming: panel.confirming

    implicitWidth: 560
    implicitHeight: 500
    color: Theme.background
    onIsConfirmingChanged: {
        if (isConfirming)
            confirmation.forceActiveFocus();
        else
            content.forceActiveFocus();
    }

    Shortcut {
        sequence: "Ctrl+F"
        enabled: !root.isConfirming
        onActivated: filter.focusSearch()
    }
    Shortcut {
        sequence: "Ctrl+,"
        enabled: !root.isConfirming
        onActivated: root.panel.openSettings()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        enabled: !root.isConfirming
        onActivated: root.panel.quit()
    }
    FocusScope {
        id: content

        anchors.fill: parent
        enabled: !root.isConfirming
        focus: true

        PanelHeader {
            id: header

            width: parent.width
            onSettingsRequested: root.panel.openSettings()
        }
        Hairline {
            id: belowHeader

            anchors.top: header.bottom
            width: parent.width
        }
        FilterRow {
            id: filter

            anchors.top: belowHeader.bottom
            width: parent.width
            panel: root.panel
        }
        SystemBanner {
            id: banner

            anchors.top: filter.bottom
            width: parent.width
            height: visible ? implicitHeight : 0
            visible: text.length > 0
            text: root.panel.banner
            call: root.panel.bannerCall
            onClicked: root.panel.toggleSystemPorts()
        }
        Hairline {
            id: aboveList

            anchors.top: banner.bottom
            width: parent.width
        }
        ListRegion {
            anchors.top: aboveList.bottom
            anchors.bottom: belowList.top
            width: parent.width
            panel: root.panel
        }
        Hairline {
            id: belowList

            anchors.bottom: footer.top
            width: parent.width
        }
        PanelFooter {
            id: footer

            anchors.bottom: parent.bottom
            width: parent.width
            count: root.panel.listenerCount
        }
    }
    FocusScope {
        id: confirmation

        anchors.fill: parent
        enabled: root.isConfirming
        opacity: root.isConfirming ? 1 : 0

        OnDemand {
            when: root.isConfirming || confirmation.opacity > 0

            KillConfirmView {
                anchors.fill: confirmation
                focus: true
                entry: root.panel.confirmedEntry
                onCancelled: root.panel.cancelKill()
                onConfirmed: root.panel.confirmKill()
            }
        }

        Behavior on opacity {
            NumberAnimation {
                duration: 150
                easing.type: Easing.InOutQuad
            }
        }
    }
}
