// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

UpdatesView {
    id: root

    function prepare(): void {
        sample.updater.checkForUpdates();
        sample.endCheck("unavailable", "", "This copy of Tarnwick was not installed by a package manager, so updates of it have to be fetched from where it came from. It runs from:\n/home/ann/Tarnwick/tarnwick");
    }

    width: 440
    height: 200
    updater: sample.updater

    SampleSettings {
        id: sample
    }
}
