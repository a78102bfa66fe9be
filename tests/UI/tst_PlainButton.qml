// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 200
    height: 60
    focus: true

    PlainButton {
        id: button

        x: 40
        y: 20
        width: 40
        height: 20
        label: "Press"
    }
    SignalSpy {
        id: clicks

        target: button
        signalName: "clicked"
    }

    ViewTestCase {
        name: "PlainButton"

        function init(): void {
            button.focus = false;
            clicks.clear();
        }
        function ring(): Item {
            return all(button, item => item instanceof FocusRing)[0];
        }
        function test_isPressedByTheKeyboard_data() {
            return [
                {
                    tag: "Space",
                    key: Qt.Key_Space
                },
                {
                    tag: "Return",
                    key: Qt.Key_Return
                },
                {
                    tag: "Enter",
                    key: Qt.Key_Enter
                }
            ];
        }
        function test_isPressedByTheKeyboard(data) {
            button.forceActiveFocus();
            keyClick(data.key);
            compare(clicks.count, 1);
        }
        function test_leavesOtherKeysToOthers(): void {
            button.forceActiveFocus();
            keyClick(Qt.Key_A);
            compare(clicks.count, 0);
        }
        function test_isReachedByTab(): void {
            root.forceActiveFocus();
            keyClick(Qt.Key_Tab);
            verify(button.activeFocus);
        }
        function test_showsThatItHasTheFocus(): void {
            verify(!ring().visible);
            button.forceActiveFocus();
            verify(ring().visible);
            compareRect(ring(), button, -2, -2, 44, 24);
        }
        function test_takesNoFocusFromAClick(): void {
            mouseClick(button);
            verify(!button.activeFocus);
            compare(clicks.count, 1);
        }
        function test_hasThePointingHandOverIt(): void {
            mouseMove(root, 5, 5);
            verify(!Pointer.isHandIn(root));
            mouseMove(button, 5, 5);
            verify(Pointer.isHandIn(root));
            mouseMove(root, 5, 5);
            verify(!Pointer.isHandIn(root));
        }
        function test_isNotPressedWhileItIsDisabled(): void {
            button.enabled = false;
            mouseClick(button);
            button.Accessible.pressAction();
            button.enabled = true;
            compare(clicks.count, 0);
            button.Accessible.pressAction();
            compare(clicks.count, 1);
        }
    }
}
