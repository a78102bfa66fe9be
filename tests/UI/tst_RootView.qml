// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Item {
    id: root

    width: 560
    height: 500

    RootView {
        id: view

        anchors.fill: parent
    }

    ViewTestCase {
        name: "RootView"

        function test_showsThePanelOfTheProgram(): void {
            compare(view.panel, SharedPanel.model);
            verify(textItem(view, "NO LISTENERS"));
            verify(textItem(view, "Nothing is bound to a port right now."));
            verify(textItem(view, "0 listeners"));
        }
        function test_isAwakeOnlyWhileItsWindowIsVisible(): void {
            verify(SharedPanel.model.active);
            verify(UptimeClock.running);
            root.Window.window.visible = false;
            verify(!SharedPanel.model.active);
            verify(!UptimeClock.running);
            root.Window.window.visible = true;
            verify(SharedPanel.model.active);
            verify(UptimeClock.running);
        }
    }
}
