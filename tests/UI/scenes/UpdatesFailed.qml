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
        sample.endCheck("failed", "", "Failed to fetch https://packages.example.org/dists/stable/InRelease: Could not resolve host");
    }

    width: 440
    height: 200
    updater: sample.updater

    SampleSettings {
        id: sample
    }
}
