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

    TierBadgeView {
        id: badge

        tier: "DEV"
        tint: "#4ADE80"
    }

    ViewTestCase {
        name: "TierBadgeView"

        function test_padsItsLabel(): void {
            const label = textItem(badge, "DEV");
            compareFont(label.font, 8, Font.DemiBold, 1.5);
            compareRect(label, badge, 7, 2, badge.width - 14, badge.height - 4);
        }
        function test_isTintedWithTheColourOfTheTier(): void {
            compareColor(textItem(badge, "DEV").color, 74, 222, 128, 1);
            compareColor(badge.color, 74, 222, 128, 0.1);
            compareColor(badge.border.color, 74, 222, 128, 0.22);
            compare(badge.border.width, 1);
            compare(badge.radius, 3);
        }
    }
}
