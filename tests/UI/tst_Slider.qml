// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 320
    height: 100
    focus: true

    Slider {
        id: slider

        y: 40
        width: 306
        label: "Period"
        current: 10
        minimumValue: 2
        maximumValue: 60
        stepSize: 1
        onMoved: value => current = value
    }
    SignalSpy {
        id: moves

        target: slider
        signalName: "moved"
    }

    // Its knob is 16 wide, so a step is five.
    ViewTestCase {
        name: "Slider"

        function init(): void {
            slider.current = 10;
            slider.focus = false;
            root.forceActiveFocus();
            moves.clear();
        }
        function placeOf(value: real): real {
            return 8 + (value - 2) * 5;
        }
        function test_obeysItsKeys_data() {
            return [
                {
                    tag: "Left",
                    key: Qt.Key_Left,
                    expected: 9
                },
                {
                    tag: "Down",
                    key: Qt.Key_Down,
                    expected: 9
                },
                {
                    tag: "Right",
                    key: Qt.Key_Right,
                    expected: 11
                },
                {
                    tag: "Up",
                    key: Qt.Key_Up,
                    expected: 11
                },
                {
                    tag: "Page Down",
                    key: Qt.Key_PageDown,
                    expected: 2
                },
                {
                    tag: "Page Up",
                    key: Qt.Key_PageUp,
                    expected: 20
                },
                {
                    tag: "Home",
                    key: Qt.Key_Home,
                    expected: 2
                },
                {
                    tag: "End",
                    key: Qt.Key_End,
                    expected: 60
                },
                {
                    tag: "another key",
                    key: Qt.Key_A,
                    expected: 10
                }
            ];
        }
        function test_obeysItsKeys(data) {
            slider.forceActiveFocus();
            keyClick(data.key);
            compare(slider.current, data.expected);
        }
        function test_followsTheDraggedKnob(): void {
            mousePress(slider, placeOf(10) + 3, 10);
            compare(slider.current, 10);
            mouseMove(slider, placeOf(25) + 3, 10);
            compare(slider.current, 25);
            mouseMove(slider, placeOf(25) + 5, 10);
            compare(slider.current, 25);
            mouseMove(slider, 1000, 10);
            compare(slider.current, 60);
            mouseMove(slider, -1000, 10);
            compare(slider.current, 2);
            mouseRelease(slider, -1000, 10);
            for (const move of moves.signalArguments)
                compare(move[0], Math.round(move[0]));
        }
        function test_jumpsToAClickOnItsTrack(): void {
            mouseClick(slider, placeOf(42), 10);
            compare(slider.current, 42);
        }
        function test_turnsWithTheWheel(): void {
            mouseWheel(slider, 100, 10, 0, 120);
            compare(slider.current, 11);
            mouseWheel(slider, 100, 10, 0, -240);
            compare(slider.current, 9);
            mouseWheel(slider, 100, 10, 0, 60);
            compare(slider.current, 9);
            mouseWheel(slider, 100, 10, 0, 60);
            compare(slider.current, 10);
        }
        function test_tellsNothingAtTheEndsOfItsRange(): void {
            slider.current = 60;
            slider.forceActiveFocus();
            keyClick(Qt.Key_Right);
            slider.current = 2;
            keyClick(Qt.Key_Left);
            compare(moves.count, 0);
        }
        function test_goesFromBetweenTwoStepsToAWholeOne(): void {
            slider.current = 7.5;
            slider.forceActiveFocus();
            keyClick(Qt.Key_Right);
            compare(slider.current, 9);
        }
        function test_isSetByAssistiveTechnology(): void {
            compare(slider.Accessible.role, Accessible.Slider);
            compare(slider.Accessible.name, "Period");
            compare([slider.value, slider.minimumValue, slider.maximumValue, slider.stepSize], [10, 2, 60, 1]);
            slider.value = 33.4;
            compare(slider.current, 33);
            compare(slider.value, 33);
            slider.current = 20;
            compare(slider.value, 20);
        }
        function test_isReachedByTab(): void {
            keyClick(Qt.Key_Tab);
            verify(slider.activeFocus);
            verify(all(slider, item => item instanceof FocusRing)[0].visible);
        }
    }
}
