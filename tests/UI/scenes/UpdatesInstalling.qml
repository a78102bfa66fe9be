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
        sample.endCheck("available", "1.3.0", "");
    }

    width: 440
    height: 200
    updater: sample.updater

    onIsAvailableChanged: {
        if (isAvailable)
            Qt.callLater(() => sample.updater.installUpdate());
    }

    SampleSettings {
        id: sample
    }
}
