// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Rectangle {
    id: root

    width: 200
    height: 60
    color: Theme.background

    KillButton {
        id: button

        x: 40
        y: 20
        label: "Kill node, port 3000, dev"
    }
    SignalSpy {
        id: clicks

        target: button
        signalName: "clicked"
    }

    ViewTestCase {
        name: "KillButton"

        function init(): void {
            leave(root);
            clicks.clear();
        }
        function face(): Rectangle {
            return all(button, item => item instanceof Rectangle && item.radius === 3)[0];
        }
        function test_padsItsLabel(): void {
            const label = textItem(button, "KILL");
            compareFont(label.font, 9, Font.DemiBold, 1.5);
            compareRect(label, button, 12, 5, button.width - 24, button.height - 10);
            compareColor(label.color, 244, 63, 94, 1);
        }
        function test_isStrongerWhileThePointerIsOnIt(): void {
            compareColor(face().color, 244, 63, 94, 0.1);
            compareColor(face().border.color, 244, 63, 94, 0.26);
            mouseMove(button, 10, 10);
            compareColor(face().color, 244, 63, 94, 0.2);
            compareColor(face().border.color, 244, 63, 94, 0.45);
            leave(root);
            compareColor(face().color, 244, 63, 94, 0.1);
        }
        function test_isPressedOnceByAClick(): void {
            mouseClick(button);
            compare(clicks.count, 1);
        }
        function test_isNotPressedWhenThePointerIsDraggedOff(): void {
            mousePress(button);
            mouseMove(root, 5, 5);
            mouseRelease(root, 5, 5);
            compare(clicks.count, 0);
        }
        function test_isAButtonForAssistiveTechnology(): void {
            compare(button.Accessible.role, Accessible.Button);
            compare(button.Accessible.name, "Kill node, port 3000, dev");
        }
    }
}
