// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 300
    height: 60

    KillDialogButton {
        id: cancel

        label: "CANCEL"
        kind: KillDialogButton.Secondary
    }
    KillDialogButton {
        id: kill

        x: 150
        label: "KILL IT"
        kind: KillDialogButton.Destructive
    }

    ViewTestCase {
        name: "KillDialogButton"

        function init(): void {
            leave(root);
        }
        function face(button: Item): Rectangle {
            return all(button, item => item instanceof Rectangle && !(item instanceof FocusRing))[0];
        }
        function test_padsItsLabel(): void {
            const label = textItem(cancel, "CANCEL");
            compareFont(label.font, 9, Font.DemiBold, 1.5);
            compareRect(label, cancel, 20, 7, cancel.width - 40, cancel.height - 14);
            compare(face(cancel).radius, 4);
        }
        function test_hasTheColoursOfItsKind(): void {
            compareColor(textItem(cancel, "CANCEL").color, 138, 152, 176, 1);
            compare(face(cancel).color.a, 0);
            compareColor(face(cancel).border.color, 255, 255, 255, 0.08);
            compareColor(textItem(kill, "KILL IT").color, 244, 63, 94, 1);
            compareColor(face(kill).color, 244, 63, 94, 0.08);
            compareColor(face(kill).border.color, 244, 63, 94, 0.22);
        }
        function test_isALittleStrongerUnderThePointer(): void {
            mouseMove(kill, 5, 5);
            compareColor(face(kill).color, 244, 63, 94, 0.08 * 1.08);
            compareColor(face(kill).border.color, 244, 63, 94, 0.22 * 1.08);
            mouseMove(cancel, 5, 5);
            compare(face(cancel).color.a, 0);
            compareColor(face(cancel).border.color, 255, 255, 255, 0.08 * 1.08);
        }
        function test_isStrongestWhileItIsPressed(): void {
            mouseMove(kill, 5, 5);
            mousePress(kill, 5, 5);
            compareColor(face(kill).color, 244, 63, 94, 0.08 * 1.14);
            compareColor(face(kill).border.color, 244, 63, 94, 0.22 * 1.08);
            mouseRelease(kill, 5, 5);
            compareColor(face(kill).color, 244, 63, 94, 0.08 * 1.08);
        }
    }
}
