// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What the settings window shows: the settings of the program.
SettingsView {
    id: root

    settings: SharedSettings.model
    launchAtLogin: SharedSettings.launchAtLogin
    updater: SharedSettings.updater
    about: SharedSettings.about
    onCloseRequested: root.Window.window.close()
}
