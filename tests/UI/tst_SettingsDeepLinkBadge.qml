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

    SettingsDeepLinkBadge {
        id: badge

        label: "Sharing"
    }

    ViewTestCase {
        name: "SettingsDeepLinkBadge"

        function test_pointsToThePane(): void {
            const arrow = textItem(badge, "→");
            const label = textItem(badge, "Sharing");
            compareFont(arrow.font, 10, Font.Normal, 0);
            compareFont(label.font, 10, Font.Medium, 0);
            compare(arrow.mapToItem(badge, 0, 0).x, 8);
            compare(label.mapToItem(badge, 0, 0).x, 8 + arrow.width + 4);
            compare(badge.width, 8 + arrow.width + 4 + label.width + 8);
            compare(badge.height, Math.max(arrow.height, label.height) + 8);
            compareColor(arrow.color, 138, 152, 176, 1);
            compareColor(label.color, 138, 152, 176, 1);
        }
        function test_isOnlyOutlined(): void {
            compare(badge.color.a, 0);
            compareColor(badge.border.color, 255, 255, 255, 0.08);
            compare(badge.radius, 3);
        }
        function test_isNoButton(): void {
            verify(badge.Accessible.role !== Accessible.Button);
            verify(!badge.activeFocusOnTab);
        }
    }
}
