// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 560
    height: 300

    MessageState {
        id: view

        anchors.fill: parent
        heading: "NO LISTENERS"
        line: "Nothing is bound to a port right now."
    }

    ViewTestCase {
        name: "MessageState"

        function test_isInTheMiddle(): void {
            const heading = textItem(view, "NO LISTENERS");
            const line = textItem(view, "Nothing is bound to a port right now.");
            const top = heading.mapToItem(view, 0, 0).y;
            compare(line.mapToItem(view, 0, 0).y, top + heading.height + 8);
            fuzzyCompare(top, 300 - line.mapToItem(view, 0, line.height).y, 1.01);
            compare(heading.mapToItem(view, 0, 0).x, 40);
            compare(heading.width, 480);
        }
        function test_hasItsFontsAndColours(): void {
            compareFont(textItem(view, "NO LISTENERS").font, 10, Font.DemiBold, 2);
            compareFont(textItem(view, "Nothing is bound to a port right now.").font, 12, Font.Normal, 0);
            compareColor(textItem(view, "NO LISTENERS").color, 93, 107, 130, 1);
            compareColor(textItem(view, "Nothing is bound to a port right now.").color, 138, 152, 176, 1);
        }
    }
}
