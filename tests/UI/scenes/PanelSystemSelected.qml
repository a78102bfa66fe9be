// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI
import Tarnwick.UITest

MenuBarView {
    id: root

    property point hoverAt: Qt.point(300, 80)

    function prepare(): void {
        sample.openUsual();
        sample.model.selectedFilter = PanelModel.System;
    }

    width: 560
    height: 500
    panel: sample.model

    SamplePanel {
        id: sample
    }
}
