// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 620
    height: 500
    focus: true

    SampleSettings {
        id: sample
    }
    SettingsView {
        id: view

        anchors.fill: parent
        settings: sample.model
        launchAtLogin: sample.launchAtLogin
        updater: sample.updater
        about: sample.about
    }
    SignalSpy {
        id: closings

        target: view
        signalName: "closeRequested"
    }

    ViewTestCase {
        name: "SettingsView"

        function init(): void {
            view.selectedTab = SettingsView.General;
            tab("General").focus = false;
            tab("About").focus = false;
            view.forceActiveFocus();
            closings.clear();
        }
        function tab(name: string): Item {
            return all(view, item => item.Accessible.role === Accessible.PageTab && item.Accessible.name === name)[0];
        }
        function shows(type: string): bool {
            return type === "General" ? textItem(view, "Monitoring") !== null : textItem(view, "Version 1.2.0") !== null;
        }
        function compareShown(name: string): void {
            compare([shows("General"), shows("About")], [name === "General", name === "About"]);
            compare([tab("General").Accessible.selected, tab("About").Accessible.selected], [name === "General", name === "About"]);
        }
        function test_hasItsTabsInTheirOrder(): void {
            compare(all(view, item => item.Accessible.role === Accessible.PageTab).map(item => [item.Accessible.name, item.symbol]), [["General", "gearshape"], ["About", "info.circle"]]);
        }
        function test_isCalledSettings(): void {
            compare(view.Accessible.name, "Tarnwick Settings");
            compare([view.implicitWidth, view.implicitHeight], [520, 420]);
        }
        function test_showsTheGeneralTabFirst(): void {
            compareShown("General");
        }
        function test_changesTabs_data() {
            return [
                {
                    tag: "by a click",
                    act: name => mouseClick(tab(name))
                },
                {
                    tag: "by Ctrl+Tab",
                    act: () => keyClick(Qt.Key_Tab, Qt.ControlModifier)
                },
                {
                    tag: "by Ctrl+Shift+Tab",
                    act: () => keyClick(Qt.Key_Backtab, Qt.ControlModifier | Qt.ShiftModifier)
                },
                {
                    tag: "by arrows",
                    act: name => {
                        tab(name === "About" ? "General" : "About").forceActiveFocus();
                        keyClick(name === "About" ? Qt.Key_Right : Qt.Key_Left);
                        verify(tab(name).activeFocus);
                    }
                },
                {
                    tag: "by Space",
                    act: name => {
                        tab(name).forceActiveFocus();
                        keyClick(Qt.Key_Space);
                    }
                }
            ];
        }
        function test_changesTabs(data) {
            data.act("About");
            compareShown("About");
            data.act("General");
            compareShown("General");
        }
        function test_wantsToBeClosed_data() {
            return [
                {
                    tag: "by Escape",
                    key: Qt.Key_Escape,
                    modifiers: Qt.NoModifier
                },
                {
                    tag: "by Ctrl+W",
                    key: Qt.Key_W,
                    modifiers: Qt.ControlModifier
                }
            ];
        }
        function test_wantsToBeClosed(data) {
            keyClick(data.key, data.modifiers);
            compare(closings.count, 1);
        }
        function test_asksTheSystemAnewWhenTheGeneralTabComesBack(): void {
            mouseClick(tab("About"));
            sample.isRegistered = true;
            mouseClick(tab("General"));
            verify(named(view, "Launch at login").checked);
            sample.isRegistered = false;
        }
        function test_isReachedByTab(): void {
            for (const name of ["General", "About", "Launch at login"]) {
                keyClick(Qt.Key_Tab);
                compare(root.Window.activeFocusItem.Accessible.name, name);
            }
        }
        function test_fitsIntoItsWindow(): void {
            sample.findUpdater();
            tryVerify(() => sample.updater.isAvailable);
            verify(!all(view, item => item instanceof ScrollIndicator)[0].visible);
        }
    }
}
