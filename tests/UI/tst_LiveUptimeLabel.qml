// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 200
    height: 60

    LiveUptimeLabel {
        id: label

        openedAt: 0
    }

    ViewTestCase {
        name: "LiveUptimeLabel"

        function init(): void {
            UptimeClock.running = false;
            label.visible = true;
        }
        function ago(seconds: int): double {
            return UptimeClock.now() - seconds * 1000;
        }
        function test_isRightAtOnce(): void {
            label.openedAt = ago(7500);
            compare(label.text, "2h 5m");
        }
        function test_followsTheClock(): void {
            label.openedAt = ago(42);
            compare(label.text, "42s");
            UptimeClock.running = true;
            tryCompare(label, "text", "44s", 5000);
        }
        function test_standsStillWithTheClock(): void {
            label.openedAt = ago(42);
            label.now = label.now + 10000;
            compare(label.text, "52s");
        }
        function test_isRightAgainWhenItComesBack(): void {
            label.openedAt = ago(42);
            label.visible = false;
            label.now = 0;
            label.visible = true;
            compare(label.text, "42s");
        }
        function test_beginsAnewForAnotherPort(): void {
            label.now = 0;
            label.openedAt = ago(90000);
            compare(label.text, "1d 1h");
        }
    }
}
