// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

MenuBarView {
    id: root


    function prepare(): void {
        sample.openUsual();
        sample.model.requestKill(sample.row({
            port: 5432,
            pid: 812,
            process: "postgres",
            description: "PostgreSQL"
        }));
    }

    width: 560
    height: 500
    panel: sample.model

    SamplePanel {
        id: sample
    }
}
