// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

UpdatesView {
    id: root

    function prepare(): void {
        sample.findUpdater();
        Qt.callLater(() => {
            sample.updater.checkForUpdates();
            sample.endCheck("upToDate", "", "");
        });
    }

    width: 440
    height: 200
    updater: sample.updater

    SampleSettings {
        id: sample
    }
}
