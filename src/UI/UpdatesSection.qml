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
