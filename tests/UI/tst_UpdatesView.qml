// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 440
    height: 200
    focus: true

    SampleSettings {
        id: sample
    }
    UpdatesView {
        id: view

        anchors.fill: parent
        updater: sample.updater
    }
    SignalSpy {
        id: closings

        target: view
        signalName: "closeRequested"
    }

    ViewTestCase {
        name: "UpdatesView"

        function initTestCase(): void {
            sample.findUpdater();
            tryVerify(() => sample.updater.isAvailable);
        }
        function init(): void {
            sample.updater.dismiss();
            sample.updater.checkForUpdates();
            sample.forgetRequests();
            closings.clear();
        }
        function come(kind: string, version: string, text: string, stage: int): void {
            sample.endCheck(kind, version, text);
            tryCompare(sample.updater, "stage", stage);
        }
        function bar(): Item {
            return all(view, item => item instanceof BusyBar)[0];
        }
        function buttons() {
            return all(view, item => item instanceof PushButton && item.visible).map(button => button.label);
        }
        function test_showsThatItChecks(): void {
            verify(textItem(view, "Checking for updates…"));
            verify(bar().visible);
            compare(buttons(), ["Close"]);
        }
        function test_hasTheKeyboardOnTheButtonThatChangesNothing(): void {
            verify(named(view, "Close").activeFocus);
        }
        function test_showsThatThereIsNothing(): void {
            come("upToDate", "", "", UpdaterController.UpToDate);
            verify(textItem(view, "Tarnwick is up to date."));
            verify(!bar().visible);
            compare(buttons(), ["Close"]);
        }
        function test_offersWhatIsAvailable(): void {
            come("available", "1.3.0", "Faster.", UpdaterController.Available);
            verify(textItem(view, "Tarnwick 1.3.0 is available."));
            verify(textItem(view, "Faster."));
            compare(buttons(), ["Later", "Install"]);
            mouseClick(named(view, "Install"));
            compare(sample.requests, ["seen 1.3.0", "install"]);
            verify(textItem(view, "Installing Tarnwick 1.3.0…"));
            verify(bar().visible);
            compare(buttons(), ["Close"]);
        }
        function test_showsThatItIsInstalled(): void {
            come("installed", "1.3.0", "", UpdaterController.Installed);
            verify(textItem(view, "Tarnwick 1.3.0 is installed. It takes effect with the next start."));
            verify(!bar().visible);
        }
        function test_showsAFailureInItsOwnWords(): void {
            come("failed", "", "Could not resolve host", UpdaterController.CheckFailed);
            verify(textItem(view, "The check for updates failed."));
            verify(textItem(view, "Could not resolve host"));
            compare(buttons(), ["Close"]);
            sample.updater.checkForUpdates();
            come("available", "1.3.0", "", UpdaterController.Available);
            sample.updater.installUpdate();
            come("failed", "", "No space left", UpdaterController.InstallationFailed);
            verify(textItem(view, "The update could not be completed."));
            compare(buttons(), ["Close"]);
        }
        function test_saysWhyThereIsNothingToInstall_data() {
            return [
                {
                    tag: "held",
                    stage: UpdaterController.Held,
                    headline: "Tarnwick 1.3.0 is held back."
                },
                {
                    tag: "unavailable",
                    stage: UpdaterController.Unavailable,
                    headline: "Tarnwick cannot check for updates here."
                }
            ];
        }
        function test_saysWhyThereIsNothingToInstall(data): void {
            come(data.tag, "1.3.0", "The reason.", data.stage);
            verify(textItem(view, data.headline));
            verify(textItem(view, "The reason."));
            compare(buttons(), ["Close"]);
        }
        function test_installsNothingOnWhatTheUserWasTyping(): void {
            come("available", "1.3.0", "", UpdaterController.Available);
            keyClick(Qt.Key_Return);
            keyClick(Qt.Key_Space);
            compare(sample.requests, []);
        }
        function test_isWalkedThroughByTab(): void {
            come("available", "1.3.0", "", UpdaterController.Available);
            compare(root.Window.activeFocusItem.Accessible.name, "Later");
            keyClick(Qt.Key_Tab);
            compare(root.Window.activeFocusItem.Accessible.name, "Install");
            keyClick(Qt.Key_Tab, Qt.ShiftModifier);
        }
        function test_wantsToBeClosed_data() {
            return [
                {
                    tag: "by Escape",
                    act: () => keyClick(Qt.Key_Escape)
                },
                {
                    tag: "by Ctrl+W",
                    act: () => keyClick(Qt.Key_W, Qt.ControlModifier)
                },
                {
                    tag: "by its button",
                    act: () => mouseClick(named(view, "Close"))
                }
            ];
        }
        function test_wantsToBeClosed(data) {
            data.act();
            compare(closings.count, 1);
        }
        function test_scrollsALongText(): void {
            come("available", "1.3.0", "A line.\n".repeat(40), UpdaterController.Available);
            const text = all(view, item => item instanceof ScrolledText)[0];
            verify(text.isScrollable);
            const flickable = all(text, item => item instanceof Flickable)[0];
            text.forceActiveFocus();
            keyClick(Qt.Key_Down);
            compare(flickable.contentY, 18);
            keyClick(Qt.Key_Up);
            keyClick(Qt.Key_Up);
            compare(flickable.contentY, 0);
            for (let i = 0; i < 20; ++i)
                keyClick(Qt.Key_PageDown);
            compare(flickable.contentY, flickable.contentHeight - flickable.height);
            compare(text.mapToItem(view, 0, text.height).y <= named(view, "Later").mapToItem(view, 0, 0).y, true);
        }
    }
}
