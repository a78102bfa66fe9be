// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Of the settings those that are about updates.
FormSection {
    id: root

    required property UpdaterController updater

    title: "Updates"

    Toggle {
        width: parent.width
        label: "Automatically check for updates"
        checked: root.updater.automaticallyChecksForUpdates
        onToggled: checked => root.updater.automaticallyChecksForUpdates = checked
    }
    Hairline {
        width: parent.width
    }
    OnDemand {
        when: root.updater.availability.length > 0

        Item {
            width: root.width - 28
            height: show.height + 12

            PlainText {
                anchors.verticalCenter: show.verticalCenter
                width: parent.width - show.width - 12
                text: root.updater.availability
                font.pixelSize: Theme.bodySize
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            PushButton {
                id: show

                anchors.right: parent.right
                y: 10
                label: "Show Update"
                isProminent: true
                onClicked: root.updater.showUpdate()
            }
        }
    }
    Item {
        width: parent.width
        height: check.height + 16

        PushButton {
            id: check

            y: 8
            label: "Check Now"
            enabled: root.updater.canCheckForUpdates
            onClicked: root.updater.checkForUpdates()
        }
    }
}
