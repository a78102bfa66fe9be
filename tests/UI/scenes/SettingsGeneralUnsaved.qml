// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

SettingsView {
    id: root

    function prepare(): void {
        sample.findUpdater();
        sample.allowStoring(false);
        sample.model.showSystemPortsByDefault = true;
        sample.model.pollInterval = 5;
    }

    width: 620
    height: 500
    settings: sample.model
    launchAtLogin: sample.launchAtLogin
    updater: sample.updater
    about: sample.about

    SampleSettings {
        id: sample
    }
}
