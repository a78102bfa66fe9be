// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

/// Whatever the content of a window goes through, the keyboard is never with what is hidden or
/// disabled.
FocusScope {
    id: root

    width: 620
    height: 500
    focus: true

    SampleSettings {
        id: sample
    }
    SamplePanel {
        id: panelSample
    }
    Component {
        id: settingsWindow

        SettingsView {
            settings: sample.model
            launchAtLogin: sample.launchAtLogin
            updater: sample.updater
            about: sample.about
        }
    }
    Component {
        id: updatesWindow

        UpdatesView {
            updater: sample.updater
        }
    }
    Component {
        id: panelWindow

        MenuBarView {
            focus: true
            panel: panelSample.model
        }
    }

    ViewTestCase {
        id: test

        name: "FocusGuard"

        property Item view: null

        function initTestCase(): void {
            sample.findUpdater();
            tryVerify(() => sample.updater.isAvailable);
            panelSample.openUsual();
            tryCompare(panelSample.model, "listenerCount", "9 listeners");
        }
        function cleanup(): void {
            if (view)
                view.destroy();
            view = null;
            wait(0);
        }
        function open(component: Component): void {
            view = component.createObject(root, {
                width: root.width,
                height: root.height
            });
            view.forceActiveFocus();
        }
        function focusedItem(): Item {
            return root.Window.activeFocusItem;
        }
        function describe(item: Item): string {
            return `${item}, "${item.Accessible.name.slice(0, 40)}"`;
        }
        function verifyFocusIsSeen(when: string): void {
            const item = focusedItem();
            verify(item === null || (item.visible && item.enabled), `${when}: the keyboard is with ${describe(item)}`);
        }
        /// Everything that the keyboard can be brought to now.
        function stops() {
            return all(view, item => item.activeFocusOnTab && item.visible && item.enabled);
        }
        function come(kind: string, stage: int): void {
            sample.endCheck(kind, "1.3.0", "A line.\n".repeat(40));
            tryCompare(sample.updater, "stage", stage);
        }
        function check(): void {
            sample.updater.dismiss();
            sample.updater.checkForUpdates();
        }
        function allowCheck(can: bool): void {
            sample.allowCheck(can);
            tryCompare(sample.updater, "canCheckForUpdates", can);
        }
        function search(text: string): void {
            panelSample.model.searchQuery = text;
            wait(0);
        }
        function states(window: string) {
            const panel = panelSample.model;
            return {
                "settings": {
                    "General": () => view.selectedTab = SettingsView.General,
                    "About": () => view.selectedTab = SettingsView.About,
                    "General that cannot check": () => {
                        view.selectedTab = SettingsView.General;
                        allowCheck(false);
                    },
                    "General with an update": () => {
                        view.selectedTab = SettingsView.General;
                        check();
                        come("available", UpdaterController.Available);
                    },
                    "General without an update": () => {
                        view.selectedTab = SettingsView.General;
                        check();
                        come("upToDate", UpdaterController.UpToDate);
                    }
                },
                "updates": {
                    "Checking": () => check(),
                    "UpToDate": () => {
                        check();
                        come("upToDate", UpdaterController.UpToDate);
                    },
                    "Available": () => {
                        check();
                        come("available", UpdaterController.Available);
                    },
                    "Installing": () => {
                        check();
                        come("available", UpdaterController.Available);
                        sample.updater.installUpdate();
                    },
                    "Installed": () => {
                        check();
                        come("available", UpdaterController.Available);
                        sample.updater.installUpdate();
                        come("installed", UpdaterController.Installed);
                    }
                },
                "panel": {
                    "the list": () => {
                        panel.selectedFilter = PanelModel.All;
                        panel.cancelKill();
                        search("");
                    },
                    "no matches": () => search("nothing has this name"),
                    "the system's": () => panel.selectedFilter = PanelModel.System,
                    "a question": () => panel.requestKill(panelSample.row({
                                port: 5432,
                                pid: 812
                            }))
                }
            }[window];
        }
        function reset(): void {
            if (sample.updater.stage === UpdaterController.Installing)
                come("installed", UpdaterController.Installed);
            sample.updater.dismiss();
            allowCheck(true);
            panelSample.model.cancelKill();
            search("");
            panelSample.model.selectedFilter = PanelModel.All;
        }
        function test_keepsTheKeyboardWithWhatIsSeen_data() {
            return [
                {
                    tag: "settings",
                    component: settingsWindow
                },
                {
                    tag: "updates",
                    component: updatesWindow
                },
                {
                    tag: "panel",
                    component: panelWindow
                }
            ];
        }
        function test_keepsTheKeyboardWithWhatIsSeen(data) {
            open(data.component);
            const all = states(data.tag);
            let tried = 0;
            for (const from in all) {
                for (const to in all) {
                    reset();
                    all[from]();
                    for (let i = 0; i < stops().length; ++i) {
                        const stop = stops()[i];
                        const when = `${from} to ${to}, from ${describe(stop)}`;
                        stop.forceActiveFocus();
                        verifyFocusIsSeen(from);
                        all[to]();
                        verifyFocusIsSeen(when);
                        reset();
                        verifyFocusIsSeen(`after ${when}`);
                        all[from]();
                        ++tried;
                    }
                }
            }
            verify(tried > 10, tried);
            reset();
        }
        function test_leavesTheSettingsOfAHiddenTabAlone(): void {
            open(settingsWindow);
            sample.store("pollInterval", 10);
            named(view, "Poll interval").forceActiveFocus();
            view.selectedTab = SettingsView.About;
            keyClick(Qt.Key_End);
            compare(sample.stored("pollInterval"), 10);
            view.selectedTab = SettingsView.General;
            named(view, "Launch at login").forceActiveFocus();
            view.selectedTab = SettingsView.About;
            keyClick(Qt.Key_Space);
            verify(!sample.isRegistered);
        }
        function test_givesTheTabThatComesBackItsFocusAgain(): void {
            open(settingsWindow);
            const slider = named(view, "Poll interval");
            slider.forceActiveFocus();
            view.selectedTab = SettingsView.About;
            view.selectedTab = SettingsView.General;
            verify(slider.activeFocus);
        }
        function test_movesFromTheInstallButtonThatGoesToTheOneThatStays(): void {
            open(updatesWindow);
            states("updates")["Available"]();
            named(view, "Install").forceActiveFocus();
            keyClick(Qt.Key_Space);
            compare(focusedItem().Accessible.name, "Close");
            reset();
        }
    }
}
