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
    height: 200

    OnboardingBubble {
        id: bubble

        width: 260
        height: 96
    }
    SignalSpy {
        id: dismissals

        target: bubble
        signalName: "dismiss"
    }

    ViewTestCase {
        name: "OnboardingBubble"

        function init(): void {
            dismissals.clear();
            bubble.isAbove = false;
        }
        function test_saysWhereTheApplicationLives(): void {
            compareFont(textItem(bubble, "↑").font, 22, Font.DemiBold, 0);
            compareFont(textItem(bubble, bubble.text).font, 12, Font.Medium, 0);
            compareFont(textItem(bubble, "CLICK ANYWHERE TO DISMISS").font, 9, Font.Normal, 1.5);
            compareColor(textItem(bubble, "↑").color, 74, 222, 128, 1);
            compareColor(textItem(bubble, bubble.text).color, 255, 255, 255, 1);
            compareColor(textItem(bubble, "CLICK ANYWHERE TO DISMISS").color, 255, 255, 255, 0.55);
        }
        function test_pointsToTheIconBelowItToo(): void {
            bubble.isAbove = true;
            verify(!textItem(bubble, "↑"));
            const arrow = textItem(bubble, "↓");
            compareFont(arrow.font, 22, Font.DemiBold, 0);
            tryVerify(() => arrow.mapToItem(bubble, 0, 0).y > textItem(bubble, "CLICK ANYWHERE TO DISMISS").mapToItem(bubble, 0, 0).y);
            test_fitsItsSize();
        }
        function test_saysSoInTheWordsOfTheSystem(): void {
            compare(bubble.text, "Tarnwick lives in your system tray.");
            compare(bubble.Accessible.name, "Tarnwick lives in your system tray. Click anywhere to dismiss.");
        }
        function test_fitsItsSize(): void {
            compare(Qt.size(bubble.implicitWidth, bubble.implicitHeight), Qt.size(260, 96));
            for (const text of all(bubble, item => item instanceof Text)) {
                verify(text.mapToItem(bubble, 0, 0).x >= 16);
                verify(text.mapToItem(bubble, text.width, 0).x <= 260 - 16);
                verify(text.mapToItem(bubble, 0, 0).y >= 0);
                verify(text.mapToItem(bubble, 0, text.height).y <= 96);
            }
        }
        function test_isNearlyBlack(): void {
            compareColor(bubble.color, 6, 9, 15, 0.96);
            compareColor(bubble.border.color, 255, 255, 255, 0.08);
            compare(bubble.radius, 10);
        }
        function test_isDismissedByAClickAnywhere_data() {
            return [[3, 48], [130, 20], [255, 90]].map(([x, y]) => ({
                        tag: `${x}, ${y}`,
                        x: x,
                        y: y
                    }));
        }
        function test_isDismissedByAClickAnywhere(data) {
            mouseClick(bubble, data.x, data.y);
            compare(dismissals.count, 1);
        }
        function test_staysForAClickBesideIt(): void {
            mouseClick(root, 350, 150);
            compare(dismissals.count, 0);
        }
    }
}
