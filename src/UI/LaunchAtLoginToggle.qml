// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Whether the application starts with the user's session, as the system has it whenever this
/// comes into view, and why a change of it failed.
Column {
    id: root

    required property LaunchAtLogin launchAtLogin
    readonly property bool isInView: visible && root.Window.visibility !== Window.Hidden

    onIsInViewChanged: {
        if (isInView)
            launchAtLogin.appear();
    }

    Toggle {
        width: root.width
        label: "Launch at login"
        checked: root.launchAtLogin.isEnabled
        onToggled: checked => root.launchAtLogin.isEnabled = checked
    }
    FailureCaption {
        width: root.width
        text: root.launchAtLogin.errorMessage
    }
}
