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
    height: 500
    focus: true

    SamplePanel {
        id: sample
    }
    MenuBarView {
        id: view

        anchors.fill: parent
        focus: true
        panel: sample.model
    }

    ViewTestCase {
        name: "MenuBarView"

        function init(): void {
            leave(root);
            if (root.Window.activeFocusItem)
                root.Window.activeFocusItem.focus = false;
            sample.model.cancelKill();
            sample.model.searchQuery = "";
            sample.model.selectedFilter = PanelModel.All;
            if (sample.model.listenerCount === "0 listeners")
                sample.openUsual();
            tryCompare(sample.model, "listenerCount", "9 listeners");
            tryCompare(confirmationLayer(), "opacity", 0);
            sample.forgetRequests();
        }
        function confirmation(): KillConfirmView {
            return all(view, item => item instanceof KillConfirmView)[0] ?? null;
        }
        function confirmationLayer(): Item {
            return view.children[view.children.length - 1];
        }
        function rowOf(description: string): PortRowView {
            return all(view, item => item instanceof PortRowView && item.entry.description === description)[0] ?? null;
        }
        function part(type) {
            return all(view, item => item instanceof type)[0];
        }
        function topOf(item: Item): real {
            return item.mapToItem(view, 0, 0).y;
        }
        function killButton(description: string): KillButton {
            const row = rowOf(description);
            const button = () => all(row, item => item instanceof KillButton)[0] ?? null;
            mouseMove(row, 300, 5);
            tryVerify(() => button() !== null);
            return button();
        }
        function askToKill(description: string): void {
            mouseClick(killButton(description));
        }
        function test_isAsLargeAsItsPopover(): void {
            compare(Qt.size(view.implicitWidth, view.implicitHeight), Qt.size(560, 500));
        }
        function test_stacksItsParts(): void {
            const header = part(PanelHeader);
            const filter = part(FilterRow);
            const banner = part(SystemBanner);
            const list = part(ListRegion);
            const footer = part(PanelFooter);
            compare(topOf(header), 0);
            compare(topOf(filter), header.height + 1);
            compare(topOf(banner), topOf(filter) + filter.height);
            compare(topOf(list), topOf(banner) + banner.height + 1);
            compare(topOf(footer), topOf(list) + list.height + 1);
            compare(topOf(footer) + footer.height, 500);
        }
        function test_dividesItsParts(): void {
            const lines = all(view, item => item instanceof Hairline && item.opacity === 1);
            compare(lines.length, 3);
            const mixed = part => Math.round(part + (255 - part) * 0.08);
            for (const line of lines)
                comparePixel(root, 280, topOf(line), mixed(11), mixed(17), mixed(32));
        }
        function test_hasItsBackground(): void {
            comparePixel(root, 280, 3, 11, 17, 32);
        }
        function test_hasItsTitle(): void {
            const title = textItem(view, "Tarnwick");
            compareFont(title.font, 13, Font.DemiBold, 0);
            compareColor(title.color, 230, 237, 245, 1);
            const mark = all(view, item => item instanceof Symbol && item.name === "network")[0];
            compare(mark.mapToItem(view, 0, 0).x, 14);
            compare(title.mapToItem(view, 0, 0).x, 14 + mark.width + 8);
            compare(part(PanelHeader).height, 11 + Math.max(mark.height, title.height) + 11);
        }
        function test_opensTheSettings(): void {
            const button = named(view, "Settings");
            compare(button.mapToItem(view, button.width, 0).x, 560 - 14);
            mouseClick(button);
            compare(sample.requests, ["settings"]);
        }
        function test_tellsWhatTheGearIsFor(): void {
            mouseMove(named(view, "Settings"), 5, 5);
            tryVerify(() => textItem(root.Window.contentItem, "Settings") !== null, 3000);
        }
        function test_hasOneTabForEachFilter(): void {
            const tabs = all(view, item => item instanceof TierTab);
            compare(tabs.map(tab => tab.label), ["ALL, 9", "DEV, 5", "APP, 1", "SYSTEM, 2"]);
            compare(tabs[0].mapToItem(view, 0, 0).x, 12);
            compare(tabs[1].x, tabs[0].width + 4);
            const search = part(SearchField);
            compare(search.mapToItem(view, search.width, 0).x, 560 - 12);
            compare(part(FilterRow).height, Math.max(tabs[0].height, search.height) + 16);
        }
        function test_hasABannerUnderTheFirstTab(): void {
            const text = textItem(view, "2 SYSTEM PORTS HIDDEN");
            const call = textItem(view, "click to show");
            compareFont(text.font, 9, Font.DemiBold, 1.5);
            compareFont(call.font, 10, Font.Normal, 0);
            compareColor(text.color, 138, 152, 176, 1);
            compareColor(call.color, 93, 107, 130, 1);
            compare(text.mapToItem(view, 0, 0).x, 14);
            compare(call.mapToItem(view, 0, 0).x, 14 + text.width + 8);
            compare(part(SystemBanner).height, call.height + 12);
            sample.model.selectedFilter = PanelModel.Dev;
            verify(!part(SystemBanner).visible);
            compare(part(SystemBanner).height, 0);
        }
        function test_showsAndHidesTheSystemPorts(): void {
            compare(rowOf("Printing"), null);
            mouseClick(part(SystemBanner));
            verify(textItem(view, "2 SYSTEM PORTS SHOWN"));
            verify(textItem(view, "click to hide"));
            tryVerify(() => rowOf("Printing") !== null);
            mouseClick(part(SystemBanner));
            verify(textItem(view, "2 SYSTEM PORTS HIDDEN"));
        }
        function test_saysThatNothingMatches(): void {
            sample.model.searchQuery = "no such thing";
            verify(textItem(view, "NO MATCHES"));
            verify(textItem(view, "Try a different search or filter."));
            sample.model.searchQuery = "";
            compare(textItem(view, "NO MATCHES"), null);
        }
        function test_hasItsFooter(): void {
            const command = textItem(view, "lsof -i -P -n -sTCP:LISTEN");
            const count = textItem(view, "9 listeners");
            for (const text of [command, count]) {
                compareFont(text.font, 9, Font.Normal, 0);
                compareColor(text.color, 93, 107, 130, 1);
            }
            compare(command.mapToItem(part(PanelFooter), 0, 0), Qt.point(14, 8));
            compare(count.mapToItem(view, count.width, 0).x, 560 - 14);
            compare(part(PanelFooter).height, command.height + 16);
        }
        function test_focusesTheSearchByItsShortcut(): void {
            keySequence("Ctrl+F");
            verify(part(SearchField).isFocused);
        }
        function test_opensTheSettingsByTheirShortcut(): void {
            keySequence("Ctrl+,");
            compare(sample.requests, ["settings"]);
        }
        function test_quitsByItsShortcut(): void {
            keySequence("Ctrl+Q");
            compare(sample.requests, ["quit"]);
        }
        function test_quitsAlsoWhileItAsks(): void {
            askToKill("PostgreSQL");
            keySequence("Ctrl+Q");
            compare(sample.requests, ["quit"]);
        }
        function test_hasItsShortcutsAlsoWithTheKeyboardInAText(): void {
            const text = textItem(view, "PostgreSQL").parent;
            mouseMove(text, 5, 5);
            tryVerify(() => all(text, item => item instanceof TextEdit).length === 1);
            mouseClick(text, 5, 5);
            verify(root.Window.activeFocusItem instanceof TextEdit);
            keySequence("Ctrl+,");
            keySequence("Ctrl+Q");
            compare(sample.requests, ["settings", "quit"]);
            keySequence("Ctrl+F");
            verify(part(SearchField).isFocused);
        }
        function test_takesADoubleClickOnTheButtonForOne(): void {
            mouseDoubleClickSequence(killButton("PostgreSQL"));
            verify(sample.model.confirming);
            compare(sample.requests, []);
        }
        function test_asksBeforeAKill(): void {
            askToKill("PostgreSQL");
            verify(confirmation());
            compare(confirmation().entry.description, "PostgreSQL");
            compare(confirmationLayer().opacity < 1, true);
            tryCompare(confirmationLayer(), "opacity", 1);
            compare(sample.requests, []);
        }
        function test_killsWhatIsConfirmed(): void {
            askToKill("PostgreSQL");
            keyClick(Qt.Key_Return);
            compare(sample.requests, ["kill 812", "rescan", "print [kill] :5432 terminated"]);
            tryVerify(() => confirmation() === null);
        }
        function test_killsNothingThatIsDeclined(): void {
            askToKill("PostgreSQL");
            keyClick(Qt.Key_Escape);
            tryVerify(() => confirmation() === null);
            compare(sample.requests, []);
        }
        function test_takesNoSecondDecisionWhileTheFirstFades(): void {
            askToKill("PostgreSQL");
            tryCompare(confirmationLayer(), "opacity", 1);
            const place = named(view, "KILL IT").mapToItem(root, 5, 5);
            keyClick(Qt.Key_Escape);
            mouseClick(root, place.x, place.y);
            keyClick(Qt.Key_Return);
            compare(sample.requests, []);
        }
        function test_keepsEverythingFromWhatIsBelowAConfirmation(): void {
            askToKill("PostgreSQL");
            for (const keys of ["Ctrl+F", "Ctrl+,"])
                keySequence(keys);
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Tab);
            verify(confirmation().activeFocus);
            verify(!part(SearchField).isFocused);
            for (const below of [named(view, "Settings"), rowOf("node")])
                below.Accessible.pressAction();
            compare(sample.requests, []);
            compare(confirmation().entry.description, "PostgreSQL");
            const settings = named(view, "Settings").mapToItem(root, 5, 5);
            mouseMove(root, settings.x, settings.y);
            verify(!named(view, "Settings").isHovered);
            mouseClick(root, settings.x, settings.y);
            compare(sample.requests, []);
            verify(!sample.model.confirming);
        }
        function test_givesTheFocusBackAfterAConfirmation(): void {
            keySequence("Ctrl+F");
            sample.model.requestKill(sample.row({}));
            verify(!part(SearchField).isFocused);
            sample.model.cancelKill();
            verify(part(SearchField).isFocused);
        }
        function test_hasThePointingHandOverEveryButton(): void {
            const found = all(view, item => item instanceof PlainButton && isShown(item) && item.width > 0);
            verify(found.length >= 6, found.map(button => button.label).join());
            for (const button of found) {
                mouseMove(button, button.width / 2, button.height / 2);
                verify(Pointer.isHandIn(root), button.label);
                leave(root);
                verify(!Pointer.isHandIn(root), button.label);
            }
        }
        function test_isWalkedThroughByTab(): void {
            keySequence("Ctrl+F");
            keyClick(Qt.Key_Tab);
            verify(part(SystemBanner).activeFocus);
            keyClick(Qt.Key_Tab);
            verify(rowOf("node").isFocused);
            keyClick(Qt.Key_Backtab);
            verify(part(SystemBanner).activeFocus);
            for (let i = 0; i < 6; ++i)
                keyClick(Qt.Key_Backtab);
            verify(named(view, "Settings").activeFocus);
        }
        function test_doesNotConfirmWithTheKeyThatAsked(): void {
            keySequence("Ctrl+F");
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Tab);
            keyPress(Qt.Key_Return);
            verify(confirmation());
            keyRelease(Qt.Key_Return);
            compare(sample.requests, []);
            verify(sample.model.confirming);
        }
    }
}
