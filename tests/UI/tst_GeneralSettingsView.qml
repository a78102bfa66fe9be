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
    height: 430
    focus: true

    SampleSettings {
        id: sample
    }
    GeneralSettingsView {
        id: view

        anchors.fill: parent
        settings: sample.model
        launchAtLogin: sample.launchAtLogin
        updater: sample.updater
    }
    SampleSettings {
        id: withoutUpdater
    }
    GeneralSettingsView {
        id: other

        visible: false
        anchors.fill: parent
        settings: withoutUpdater.model
        launchAtLogin: withoutUpdater.launchAtLogin
        updater: withoutUpdater.updater
    }

    ViewTestCase {
        name: "GeneralSettingsView"

        readonly property string explanation: "How often Tarnwick re-checks the kernel for port changes. Lower = faster detection of new listeners; higher = less battery / CPU."

        function initTestCase(): void {
            sample.findUpdater();
            tryVerify(() => sample.updater.isAvailable);
        }
        function init(): void {
            sample.store("pollInterval", 10);
            sample.store("showSystemPortsByDefault", false);
            sample.forgetRequests();
            if (root.Window.activeFocusItem)
                root.Window.activeFocusItem.focus = false;
            root.forceActiveFocus();
        }
        function slider(): Item {
            return named(view, "Poll interval");
        }
        function titles(item: Item) {
            return all(item, candidate => candidate.Accessible.role === Accessible.Heading && candidate.visible).map(heading => heading.text);
        }
        function test_hasItsSectionsInTheirOrder(): void {
            compare(titles(view), ["General", "Monitoring", "Updates"]);
        }
        function test_hasNoUpdatesWithoutAnUpdater(): void {
            view.visible = false;
            other.visible = true;
            compare(titles(other), ["General", "Monitoring"]);
            verify(!named(other, "Check Now"));
            verify(!named(other, "Automatically check for updates"));
            other.visible = false;
            view.visible = true;
        }
        function test_showsTheDefaultsWhenNothingIsStored(): void {
            other.visible = true;
            verify(!named(other, "Show system ports by default").checked);
            compare(named(other, "Poll interval").value, 10);
            verify(textItem(other, "10s"));
            other.visible = false;
        }
        function test_storesTheChoiceOfSystemPortsAndAppliesItAtOnce(): void {
            const toggle = named(view, "Show system ports by default");
            mouseClick(toggle);
            verify(toggle.checked);
            compare(sample.stored("showSystemPortsByDefault"), true);
            verify(sample.stateShowsSystemPorts);
            mouseClick(toggle);
            compare(sample.stored("showSystemPortsByDefault"), false);
            verify(!sample.stateShowsSystemPorts);
        }
        function alerts() {
            return all(view, item => item.Accessible.role === Accessible.AlertMessage && item.visible);
        }
        function test_saysUnderTheControlThatItsChoiceCouldNotBeSaved(): void {
            compare(alerts(), []);
            sample.allowStoring(false);
            const toggle = named(view, "Show system ports by default");
            mouseClick(toggle);
            verify(toggle.checked && sample.stateShowsSystemPorts);
            compare(alerts().length, 1);
            verify(alerts()[0].text.startsWith("This choice holds until Tarnwick quits, since it could not be saved: /"));
            verify(alerts()[0].mapToItem(view, 0, 0).y >= toggle.mapToItem(view, 0, toggle.height).y);
            slider().forceActiveFocus();
            keyClick(Qt.Key_Right);
            compare(alerts().length, 2);
            sample.allowStoring(true);
            mouseClick(toggle);
            slider().forceActiveFocus();
            keyClick(Qt.Key_Left);
            compare(alerts(), []);
        }
        function test_storesTheIntervalAndStartsTheMonitorAnew(): void {
            slider().forceActiveFocus();
            keyClick(Qt.Key_Right);
            compare(sample.stored("pollInterval"), 11);
            verify(textItem(view, "11s"));
            tryCompare(sample, "requests", ["interval 11", "stop", "start"]);
        }
        function test_storesTheEndsOfTheRange(): void {
            slider().forceActiveFocus();
            keyClick(Qt.Key_Home);
            compare(sample.stored("pollInterval"), 2);
            verify(textItem(view, "2s"));
            keyClick(Qt.Key_End);
            compare(sample.stored("pollInterval"), 60);
            verify(textItem(view, "60s"));
        }
        function test_storesWholeSecondsInBetween(): void {
            for (let x = 3; x < slider().width; x += 37) {
                mouseClick(slider(), x, 10);
                compare(sample.stored("pollInterval"), Math.round(sample.stored("pollInterval")));
            }
        }
        function test_cutsAStoredIntervalToWholeSeconds(): void {
            sample.store("pollInterval", 7.9);
            verify(textItem(view, "7s"));
            compare(slider().value, 7.9);
        }
        function test_explainsTheInterval(): void {
            const text = textItem(view, explanation);
            compare(text.font.pixelSize, 10);
            compareColor(text.color, 138, 152, 176, 1);
            verify(text.width <= 620 && text.wrapMode === Text.Wrap);
            const value = textItem(view, "10s");
            compare(value.font.pixelSize, 13);
            compare(value.font.family, Theme.monospaced);
            compareColor(value.color, 138, 152, 176, 1);
        }
        function test_stacksTheIntervalSixApart(): void {
            const top = item => item.mapToItem(view, 0, 0).y;
            const line = textItem(view, "Poll interval");
            compare(top(slider()), top(line) + line.height + 6);
            compare(top(textItem(view, explanation)), top(slider()) + slider().height + 6);
            const value = textItem(view, "10s");
            compare(value.mapToItem(slider(), value.width, 0).x, slider().width);
        }
        function test_readsAndWritesTheChoiceOfAutomaticChecks(): void {
            const toggle = named(view, "Automatically check for updates");
            const before = sample.updater.automaticallyChecksForUpdates;
            compare(toggle.checked, before);
            mouseClick(toggle);
            compare(sample.updater.automaticallyChecksForUpdates, !before);
            compare(toggle.checked, !before);
        }
        function test_checksForUpdatesNow(): void {
            mouseClick(named(view, "Check Now"));
            compare(sample.requests, ["check"]);
        }
        function test_saysThatAnUpdateIsAvailableForAsLongAsItIs(): void {
            sample.updater.dismiss();
            verify(!named(view, "Show Update"));
            sample.endCheck("available", "1.3.0", "");
            tryVerify(() => textItem(view, "Tarnwick 1.3.0 is available."));
            compare(sample.updater.stage, UpdaterController.None);
            mouseClick(named(view, "Show Update"));
            compare(sample.updater.stage, UpdaterController.Available);
            sample.updater.dismiss();
            verify(textItem(view, "Tarnwick 1.3.0 is available."));
            sample.endCheck("upToDate", "", "");
            tryVerify(() => !named(view, "Show Update"));
        }
        function test_cannotCheckWhileTheUpdaterCannot(): void {
            const button = named(view, "Check Now");
            verify(button.enabled);
            sample.allowCheck(false);
            tryVerify(() => !button.enabled);
            mouseClick(button);
            compare(sample.requests, []);
            sample.allowCheck(true);
            tryVerify(() => button.enabled);
        }
        function test_isWalkedThroughByTab(): void {
            const stops = ["Launch at login", "Show system ports by default", "Poll interval", "Automatically check for updates", "Check Now"];
            for (const stop of stops) {
                keyClick(Qt.Key_Tab);
                compare(root.Window.activeFocusItem.Accessible.name, stop);
            }
        }
        function test_keepsWhatHasTheKeyboardInViewOnASmallScreen(): void {
            named(view, "Launch at login").forceActiveFocus();
            root.height = 200;
            const button = named(view, "Check Now");
            button.forceActiveFocus();
            verify(button.mapToItem(view, 0, button.height).y <= 200);
            root.height = 430;
        }
    }
}
