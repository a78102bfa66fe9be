// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 400
    height: 100

    SampleSettings {
        id: sample
    }
    LaunchAtLoginToggle {
        id: view

        width: 400
        launchAtLogin: sample.launchAtLogin
    }

    ViewTestCase {
        name: "LaunchAtLoginToggle"

        function init(): void {
            sample.failWith("");
            sample.isRegistered = false;
            appear();
        }
        function appear(): void {
            view.visible = false;
            view.visible = true;
        }
        function toggle(): Item {
            return named(view, "Launch at login");
        }
        function errorItem(): Item {
            return all(view, item => item.Accessible.role === Accessible.AlertMessage && item.visible)[0] ?? null;
        }
        function test_showsWhatTheSystemSaysWheneverItAppears(): void {
            verify(!toggle().checked);
            sample.isRegistered = true;
            verify(!toggle().checked);
            appear();
            verify(toggle().checked);
            sample.isRegistered = false;
            appear();
            verify(!toggle().checked);
        }
        function test_registersAndUnregistersTheApplication(): void {
            mouseClick(toggle());
            verify(sample.isRegistered);
            verify(toggle().checked);
            mouseClick(toggle());
            verify(!sample.isRegistered);
            verify(!toggle().checked);
            verify(!errorItem());
        }
        function test_snapsBackWithTheWordsOfAFailure(): void {
            sample.failWith("Read-only file system");
            mouseClick(toggle());
            verify(!toggle().checked);
            const error = errorItem();
            compare(error.text, "Read-only file system");
            compareColor(error.color, 244, 63, 94, 1);
            compare(error.font.pixelSize, 10);
            sample.failWith("");
            mouseClick(toggle());
            verify(toggle().checked);
            verify(!errorItem());
        }
        function test_staysOnWhenItCannotBeSwitchedOff(): void {
            mouseClick(toggle());
            sample.failWith("Permission denied");
            mouseClick(toggle());
            verify(toggle().checked);
            compare(errorItem().text, "Permission denied");
            sample.failWith("");
            mouseClick(toggle());
            verify(!errorItem());
        }
        function test_keepsALongErrorInside(): void {
            sample.failWith("The folder cannot be written. ".repeat(20));
            mouseClick(toggle());
            const error = errorItem();
            verify(error.lineCount > 2);
            verify(error.contentWidth <= view.width);
            sample.failWith("");
            mouseClick(toggle());
        }
    }
}
