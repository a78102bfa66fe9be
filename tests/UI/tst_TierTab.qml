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

    SamplePanel {
        id: sample
    }
    TierTab {
        id: tab

        panel: sample.model
        filter: PanelModel.Dev
    }

    ViewTestCase {
        name: "TierTab"

        function init(): void {
            sample.model.selectedFilter = PanelModel.All;
        }
        function face(): Rectangle {
            return all(tab, item => item instanceof Rectangle && !(item instanceof FocusRing))[0];
        }
        function test_padsItsNameAndItsCount(): void {
            const name = textItem(tab, "DEV");
            const count = textItem(tab, "0");
            compareFont(name.font, 9, Font.DemiBold, 1.5);
            compareFont(count.font, 9, Font.Normal, 0);
            compare(name.mapToItem(tab, 0, 0), Qt.point(10, 4));
            compare(count.mapToItem(tab, 0, 0).x, 10 + name.width + 5);
            compare(tab.width, 10 + name.width + 5 + count.width + 10);
            compare(tab.height, name.height + 8);
        }
        function test_isQuietUntilItIsSelected(): void {
            compareColor(textItem(tab, "DEV").color, 138, 152, 176, 1);
            compareColor(textItem(tab, "0").color, 93, 107, 130, 1);
            compare(face().color.a, 0);
            compare(face().border.color.a, 0);
        }
        function test_hasTheColourOfItsTierWhenItIsSelected(): void {
            mouseClick(tab);
            compare(sample.model.selectedFilter, PanelModel.Dev);
            compareColor(textItem(tab, "DEV").color, 74, 222, 128, 1);
            compareColor(textItem(tab, "0").color, 74, 222, 128, 0.85);
            compareColor(face().color, 74, 222, 128, 0.12);
            compareColor(face().border.color, 74, 222, 128, 0.3);
            compare(face().radius, 4);
        }
        function test_tellsAssistiveTechnologyWhatItIs(): void {
            compare(tab.Accessible.role, Accessible.PageTab);
            compare(tab.Accessible.name, "DEV, 0");
            verify(!tab.Accessible.selected);
            mouseClick(tab);
            verify(tab.Accessible.selected);
        }
    }
}
