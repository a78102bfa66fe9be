// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// How often the application scans.
Column {
    id: root

    required property SettingsModel settings

    topPadding: 10
    bottomPadding: 11
    spacing: 6

    Item {
        width: root.width
        height: label.height

        PlainText {
            id: label

            text: "Poll interval"
            font.pixelSize: Theme.bodySize
            Accessible.ignored: true
        }
        PlainText {
            anchors.right: parent.right
            text: root.settings.pollIntervalText
            color: Theme.textSecondary
            font.family: Theme.monospaced
            font.pixelSize: Theme.bodySize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
    Slider {
        width: root.width
        label: label.text
        current: root.settings.pollInterval
        minimumValue: root.settings.shortestPollInterval
        maximumValue: root.settings.longestPollInterval
        stepSize: root.settings.pollIntervalStep
        onMoved: value => root.settings.pollInterval = value
    }
    PlainText {
        width: root.width
        text: "How often Tarnwick re-checks the kernel for port changes. Lower = faster detection of new listeners; higher = less battery / CPU."
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    FailureCaption {
        width: root.width
        bottomPadding: 0
        text: root.settings.pollIntervalFailure
    }
}
