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

    function focusSearch(): void {
        if (!isConfirming)
            filter.focusSearch();
    }
    function openSettings(): void {
        if (!isConfirming)
            panel.openSettings();
    }

    // A text that can be selected takes every key that it might have a use for away from the
    // shortcuts, and then leaves those that it has none for.
    Keys.onPressed: event => {
        const actions = new Map([[Qt.Key_F, root.focusSearch], [Qt.Key_Comma, root.openSettings], [Qt.Key_Q, root.panel.quit]]);
        event.accepted = event.modifiers === Qt.ControlModifier && actions.has(event.key);
        if (event.accepted)
            actions.get(event.key)();
    }

    Shortcut {
        sequence: "Ctrl+F"
        onActivated: root.focusSearch()
    }
    Shortcut {
        sequence: "Ctrl+,"
        onActivated: root.openSettings()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.panel.quit()
    }
    FocusGuard {}
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
