// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 620
    height: 430

    SampleSettings {
        id: sample
    }
    AboutView {
        id: view

        anchors.fill: parent
        about: sample.about
    }

    ViewTestCase {
        name: "AboutView"

        readonly property string description: "Native Linux tray utility for developers. Shows every listening port, classified by tier, with one-click kill."

        function test_namesTheApplication(): void {
            compareFont(textItem(view, "Tarnwick").font, 17, Font.Bold, 0);
            compareColor(textItem(view, "Tarnwick").color, 230, 237, 245, 1);
        }
        function test_tellsTheVersion(): void {
            compareFont(textItem(view, "Version 1.2.0").font, 12, Font.Normal, 0);
            compareColor(textItem(view, "Version 1.2.0").color, 138, 152, 176, 1);
        }
        function test_describesTheApplication(): void {
            const text = textItem(view, description);
            compareFont(text.font, 10, Font.Normal, 0);
            compareColor(text.color, 138, 152, 176, 1);
            compare([text.leftPadding, text.rightPadding, text.width], [40, 40, 620]);
            compare(text.horizontalAlignment, Text.AlignHCenter);
        }
        function test_showsTheSymbolWithoutAnIcon(): void {
            const symbol = all(view, item => item instanceof Symbol && item.visible)[0];
            compare(symbol.name, "network");
            compare(symbol.pixelSize, 40);
            compareColor(symbol.color, 96, 165, 250, 1);
            const place = symbol.mapToItem(view, symbol.width / 2, 0);
            compare([place.x, place.y], [310, 40]);
        }
        function test_isCentred(): void {
            for (const text of all(view, item => item instanceof Text))
                fuzzyCompare(text.mapToItem(view, text.width / 2, 0).x, 310, 0.51);
        }
        function test_hasNoControls(): void {
            compare(all(view, item => item.activeFocusOnTab), []);
        }
    }
}
