// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

MenuBarView {
    id: root

    property point hoverAt: Qt.point(553, 300)

    function prepare(): void {
        sample.openMany(200);
    }

    width: 560
    height: 500
    panel: sample.model

    SamplePanel {
        id: sample
    }
}
