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
        sample.endCheck("held", "1.3.0", "The system holds this update back: the package is on hold, its version is pinned, or the update needs something that cannot be installed. The package manager can say more.");
    }

    width: 440
    height: 200
    updater: sample.updater

    SampleSettings {
        id: sample
    }
}
