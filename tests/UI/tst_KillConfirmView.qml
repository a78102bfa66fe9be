// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 560
    height: 500
    focus: true

    SamplePanel {
        id: sample
    }
    Rectangle {
        anchors.fill: parent
        color: "white"
    }
    KillConfirmView {
        id: view

        anchors.fill: parent
        focus: true
        entry: sample.row({})
    }
    SignalSpy {
        id: cancels

        target: view
        signalName: "cancelled"
    }
    SignalSpy {
        id: confirms

        target: view
        signalName: "confirmed"
    }

    ViewTestCase {
        name: "KillConfirmView"

        function init(): void {
            view.entry = sample.row({
                port: 5432,
                pid: 812,
                process: "postgres",
                description: "PostgreSQL"
            });
            cancels.clear();
            confirms.clear();
            view.focus = false;
            root.forceActiveFocus();
            view.forceActiveFocus();
        }
        function compareCalls(cancelled: int, confirmed: int): void {
            compare(cancels.count, cancelled);
            compare(confirms.count, confirmed);
        }
        function test_namesTheProcess(): void {
            compareFont(textItem(view, "KILL PROCESS?").font, 10, Font.DemiBold, 2.5);
            compareFont(textItem(view, "PostgreSQL").font, 14, Font.DemiBold, 0);
            compareFont(textItem(view, ":5432 · postgres · PID 812").font, 10, Font.Normal, 0);
            compareColor(textItem(view, "KILL PROCESS?").color, 244, 63, 94, 1);
            compareColor(textItem(view, "PostgreSQL").color, 230, 237, 245, 1);
            compareColor(textItem(view, ":5432 · postgres · PID 812").color, 138, 152, 176, 1);
        }
        function test_stacksItsParts(): void {
            const heading = textItem(view, "KILL PROCESS?");
            const title = textItem(view, "PostgreSQL");
            const detail = textItem(view, ":5432 · postgres · PID 812");
            const cancel = named(view, "CANCEL");
            const kill = named(view, "KILL IT");
            const top = item => item.mapToItem(view, 0, 0).y;
            compare(top(title), top(heading) + heading.height + 14);
            compare(top(detail), top(title) + title.height + 6);
            compare(top(cancel), top(detail) + detail.height + 14 + 4);
            compare(kill.mapToItem(cancel, 0, 0), Qt.point(cancel.width + 10, 0));
            fuzzyCompare(top(heading), 500 - (top(cancel) + cancel.height), 1.01);
        }
        function test_coversThePanel(): void {
            comparePixel(root, 3, 3, 5 * 0.94 + 255 * 0.06, 8 * 0.94 + 255 * 0.06, 15 * 0.94 + 255 * 0.06);
        }
        function test_isDeclined_data() {
            return [
                {
                    tag: "by Escape",
                    act: () => keyClick(Qt.Key_Escape)
                },
                {
                    tag: "by its button",
                    act: () => mouseClick(named(view, "CANCEL"))
                },
                {
                    tag: "by a click on the backdrop",
                    act: () => mouseClick(view, 20, 20)
                }
            ];
        }
        function test_isDeclined(data) {
            data.act();
            compareCalls(1, 0);
        }
        function test_isConfirmed_data() {
            return [
                {
                    tag: "by Return",
                    act: () => keyClick(Qt.Key_Return)
                },
                {
                    tag: "by Enter",
                    act: () => keyClick(Qt.Key_Enter)
                },
                {
                    tag: "by its button",
                    act: () => mouseClick(named(view, "KILL IT"))
                }
            ];
        }
        function test_isConfirmed(data) {
            data.act();
            compareCalls(0, 1);
        }
        function test_pressesTheButtonThatTheKeyboardHasChosen(): void {
            keyClick(Qt.Key_Tab);
            verify(named(view, "CANCEL").activeFocus);
            keyClick(Qt.Key_Return);
            compareCalls(1, 0);
            keyClick(Qt.Key_Tab);
            verify(named(view, "KILL IT").activeFocus);
            keyClick(Qt.Key_Space);
            compareCalls(1, 1);
        }
        function test_hasThePointingHandOverItsButtons(): void {
            for (const name of ["CANCEL", "KILL IT"]) {
                mouseMove(named(view, name), 5, 5);
                verify(Pointer.isHandIn(view), name);
                mouseMove(view, 5, 5);
                verify(!Pointer.isHandIn(view), name);
            }
        }
        function test_ignoresOtherKeysAndButtons(): void {
            keyClick(Qt.Key_Delete);
            for (const modifier of [Qt.ControlModifier, Qt.AltModifier, Qt.ShiftModifier, Qt.MetaModifier]) {
                keyClick(Qt.Key_Return, modifier);
                keyClick(Qt.Key_Escape, modifier);
            }
            mouseClick(view, 20, 20, Qt.RightButton);
            compareCalls(0, 0);
        }
        function test_isADialogForAssistiveTechnology(): void {
            compare(view.Accessible.role, Accessible.Dialog);
            compare(view.Accessible.name, "KILL PROCESS? PostgreSQL :5432 · postgres · PID 812");
        }
        function test_keepsALongNameInside(): void {
            view.entry = sample.row({
                description: "long ".repeat(200)
            });
            for (const text of all(view, item => item instanceof Text))
                verify(text.mapToItem(view, text.width, 0).x <= 560 - 32 && text.mapToItem(view, 0, 0).x >= 32);
        }
    }
}
