// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 300
    height: 60
    focus: true

    Toggle {
        id: toggle

        width: 300
        label: "Show more"
        checked: false
    }
    SignalSpy {
        id: changes

        target: toggle
        signalName: "toggled"
    }

    ViewTestCase {
        name: "Toggle"

        function init(): void {
            toggle.checked = false;
            toggle.enabled = true;
            root.forceActiveFocus();
            changes.clear();
        }
        function knob(): Item {
            return all(toggle, item => item instanceof Rectangle && item.width === 16)[0];
        }
        function test_asksForTheOtherState_data() {
            return [
                {
                    tag: "with a click on its label",
                    act: () => mouseClick(toggle, 10, toggle.height / 2)
                },
                {
                    tag: "with a click on its switch",
                    act: () => mouseClick(toggle, 290, toggle.height / 2)
                },
                {
                    tag: "with Space",
                    act: () => {
                        toggle.forceActiveFocus();
                        keyClick(Qt.Key_Space);
                    }
                }
            ];
        }
        function test_asksForTheOtherState(data) {
            data.act();
            compare(changes.count, 1);
            compare(changes.signalArguments[0][0], true);
            toggle.checked = true;
            data.act();
            compare(changes.signalArguments[1][0], false);
        }
        function test_showsWhatItIsToldAndNothingElse(): void {
            tryCompare(knob(), "x", 2);
            mouseClick(toggle);
            verify(!toggle.checked);
            compare(knob().x, 2);
            toggle.checked = true;
            tryCompare(knob(), "x", 34 - 16 - 2);
        }
        function test_isACheckBoxForAssistiveTechnology(): void {
            compare(toggle.Accessible.role, Accessible.CheckBox);
            compare(toggle.Accessible.name, "Show more");
            verify(toggle.Accessible.checkable);
            verify(!toggle.Accessible.checked);
            toggle.checked = true;
            verify(toggle.Accessible.checked);
        }
        function test_isReachedByTab(): void {
            keyClick(Qt.Key_Tab);
            verify(toggle.activeFocus);
            verify(all(toggle, item => item instanceof FocusRing)[0].visible);
        }
        function test_doesNothingWhileItIsDisabled(): void {
            toggle.enabled = false;
            mouseClick(toggle);
            compare(changes.count, 0);
        }
    }
}
