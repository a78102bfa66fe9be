// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

UpdatesView {
    id: root

    function prepare(): void {
        sample.findUpdater();
        sample.updater.checkForUpdates();
        sample.endCheck("available", "1.3.0", "Listeners of containers are named.\nThe panel opens twice as fast.\nA port that is taken again keeps its place in the list.\nLonger texts of an update are scrolled.\nFive.\nSix.\nSeven.\nEight.");
    }

    width: 440
    height: 200
    updater: sample.updater

    SampleSettings {
        id: sample
    }
}
