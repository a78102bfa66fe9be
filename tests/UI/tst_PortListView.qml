// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 560
    height: 300
    focus: true

    SamplePanel {
        id: sample
    }
    PortListView {
        id: list

        anchors.fill: parent
        rows: sample.model.rows
    }
    SignalSpy {
        id: kills

        target: list
        signalName: "killRequested"
    }

    ViewTestCase {
        name: "PortListView"

        function init(): void {
            sample.model.searchQuery = "";
            kills.clear();
            list.focus = false;
            leave(root);
            if (list.view.count === 0)
                sample.openMany(100);
            awaitRows(100);
            sample.model.selectedFilter = PanelModel.Dev;
            sample.model.selectedFilter = PanelModel.All;
        }
        function rows() {
            const found = [];
            for (let i = 0; i < list.view.count; ++i) {
                const item = list.view.itemAtIndex(i);
                if (item)
                    found.push(item.children[0]);
            }
            return found;
        }
        function rowOf(process: string): PortRowView {
            return rows().find(row => row.entry.description === process) ?? null;
        }
        function place(process: string): real {
            return rowOf(process).mapToItem(list, 0, 0).y;
        }
        /// Waits for so many rows, and for their places.
        function awaitRows(count: int): void {
            tryCompare(list.view, "count", count);
            list.view.forceLayout();
        }
        function open(port: int): void {
            const count = list.view.count;
            sample.open({
                port: port,
                pid: port,
                process: `new-${port}`
            });
            awaitRows(count + 1);
        }
        function close(pid: int, port: int): void {
            const count = list.view.count;
            sample.close(pid, port);
            awaitRows(count - 1);
        }
        function test_makesRowsOnlyForWhatIsSeen(): void {
            verify(all(list, item => item instanceof PortRowView).length < 20);
        }
        function test_dividesItsRows(): void {
            const row = rowOf("worker-0");
            const line = all(row.parent, item => item instanceof Hairline)[0];
            compare(line.mapToItem(row, 0, 0).y, row.height);
            compare(line.height, 1);
            compare(line.opacity, 0.5);
            compareColor(line.color, 255, 255, 255, 0.08);
            compare(place("worker-1"), row.height + 1);
        }
        function test_showsANewRowAtTheTop(): void {
            open(1);
            verify(rowOf("new-1"));
            compare(place("new-1"), 0);
            close(1, 1);
            compare(place("worker-0"), 0);
        }
        function test_keepsTheRowUnderThePointer(): void {
            mouseMove(list, 300, 100);
            const row = rowOf("worker-1");
            verify(row.isHovered);
            const before = place("worker-1");
            open(1);
            compare(place("worker-1"), before);
            verify(rowOf("worker-1").isHovered);
            close(1, 1);
            compare(place("worker-1"), before);
            compare(rowOf("worker-1"), row);
        }
        function test_keepsItsPlaceWhenItIsScrolled(): void {
            list.scrollBy(1000);
            const first = list.view.itemAt(0, list.view.contentY).entry.description;
            const before = place(first);
            open(1);
            compare(place(first), before);
            close(1, 1);
            compare(place(first), before);
        }
        function test_keepsItsPlaceWhenItIsMadeAnew(): void {
            list.scrollBy(3000);
            const first = list.view.itemAt(0, list.view.contentY).entry.description;
            const before = place(first);
            openTwins();
            awaitRows(210);
            compare(place(first), before);
            closeTwins();
            awaitRows(100);
            compare(place(first), before);
        }
        function test_beginsAtTheTopForAnotherSearch(): void {
            list.scrollBy(1000);
            sample.model.searchQuery = "worker";
            compare(list.view.contentY, list.view.originY);
            list.scrollBy(1000);
            sample.model.searchQuery = "worker-9";
            compare(place("worker-9"), 0);
        }
        function test_isScrolledByTheWheel(): void {
            mouseMove(list, 300, 100);
            mouseWheel(list, 300, 100, 0, -120);
            compare(list.view.contentY - list.view.originY, 54);
            mouseWheel(list, 300, 100, 0, 120);
            mouseWheel(list, 300, 100, 0, 120);
            compare(list.view.contentY, list.view.originY);
        }
        function test_isScrolledToItsEnd(): void {
            list.scrollBy(1e6);
            list.scrollBy(1e6);
            verify(rowOf("worker-99"));
            compare(place("worker-99") + rowOf("worker-99").height + 1, 300);
        }
        function test_showsWhereItIsScrolledTo(): void {
            const bar = all(list, item => item instanceof ScrollIndicator)[0];
            verify(bar.visible);
            mousePress(bar, 8, 10);
            mouseMove(bar, 8, 100);
            mouseMove(bar, 8, 200);
            mouseRelease(bar, 8, 200);
            verify(list.view.contentY > 2000);
        }
        function test_isWalkedThroughByTheKeyboard(): void {
            keyClick(Qt.Key_Tab);
            verify(rowOf("worker-0").isFocused);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Down);
            verify(rowOf("worker-2").isFocused);
            keyClick(Qt.Key_Up);
            verify(rowOf("worker-1").isFocused);
            keyClick(Qt.Key_End);
            verify(rowOf("worker-99").isFocused);
            keyClick(Qt.Key_Home);
            verify(rowOf("worker-0").isFocused);
            compare(place("worker-0"), 0);
        }
        function test_asksForTheKillOfTheChosenRow(): void {
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Delete);
            compare(kills.count, 1);
            compare(kills.signalArguments[0][0].description, "worker-1");
        }
        function test_keepsTheChosenRowWhenTheListChanges(): void {
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Down);
            open(1);
            verify(rowOf("worker-1").isFocused);
            close(1, 1);
            verify(rowOf("worker-1").isFocused);
        }
        function test_goesOnAtTheNextRowWhenTheChosenOneGoes(): void {
            keyClick(Qt.Key_Tab);
            for (let i = 0; i < 30; ++i)
                keyClick(Qt.Key_Down);
            verify(rowOf("worker-30").isFocused);
            close(1030, 10030);
            verify(rowOf("worker-31").isFocused);
            keyClick(Qt.Key_Down);
            verify(rowOf("worker-32").isFocused);
            keyClick(Qt.Key_End);
            close(1099, 10099);
            verify(rowOf("worker-98").isFocused);
            for (const i of [30, 99])
                sample.open({
                    port: 10000 + i,
                    pid: 1000 + i,
                    process: `worker-${i}`
                });
            awaitRows(100);
        }
        function openTwins(): void {
            for (let i = 0; i < 110; ++i)
                sample.open({
                    port: 10000 + i,
                    pid: 9000 + i,
                    process: `twin-${i}`
                });
        }
        function closeTwins(): void {
            for (let i = 0; i < 110; ++i)
                sample.close(9000 + i, 10000 + i);
        }
        function test_keepsItsPlaceWhenTheFirstRowGoesWithManyOthers(): void {
            openTwins();
            awaitRows(210);
            list.scrollBy(4000);
            const isVisible = row => row.mapToItem(list, 0, row.height).y >= 0;
            const seen = rows().find(row => isVisible(row) && row.entry.description.startsWith("worker")).entry.description;
            const before = place(seen);
            closeTwins();
            awaitRows(100);
            verify(rowOf(seen));
            verify(Math.abs(place(seen) - before) <= 1, `${place(seen)} after ${before}`);
        }
        function test_keepsTheKeyboardWhereItIsWhenManyChange(): void {
            keyClick(Qt.Key_Tab);
            for (let i = 0; i < 3; ++i)
                keyClick(Qt.Key_Down);
            const before = place("worker-3");
            const row = rowOf("worker-3");
            openTwins();
            awaitRows(210);
            verify(rowOf("worker-3").isFocused);
            compare(rowOf("worker-3"), row);
            closeTwins();
            awaitRows(100);
            compare(rowOf("worker-3"), row);
            compare(place("worker-3"), before);
        }
        function test_keepsASelectionWhenManyChange(): void {
            const text = all(rowOf("worker-2"), item => item instanceof SelectableText && item.text === "worker-2")[0];
            mouseMove(text, 5, 5);
            tryVerify(() => all(text, item => item instanceof TextEdit).length === 1);
            mouseDoubleClickSequence(text, 5, 5);
            const editor = all(text, item => item instanceof TextEdit)[0];
            verify(editor.selectedText.length > 0);
            openTwins();
            awaitRows(210);
            verify(editor && editor.selectedText.length > 0);
            verify(editor.activeFocus);
            closeTwins();
            awaitRows(100);
        }
        function test_isAListForAssistiveTechnology(): void {
            compare(list.view.Accessible.role, Accessible.List);
            compare(list.view.Accessible.name, "Listening ports");
        }
    }
}
