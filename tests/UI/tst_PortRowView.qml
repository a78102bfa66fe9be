// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

Rectangle {
    id: root

    width: 560
    height: 300
    color: Theme.background

    SamplePanel {
        id: sample
    }
    PortRowView {
        id: row

        y: 60
        width: 560
        height: implicitHeight
        entry: sample.row({})
    }
    SignalSpy {
        id: kills

        target: row
        signalName: "killRequested"
    }

    ViewTestCase {
        name: "PortRowView"

        function init(): void {
            leave(root);
            row.focus = false;
            tryVerify(() => killButton() === null);
            kills.clear();
        }
        function show(fields) {
            row.entry = sample.row(fields);
        }
        function hover(): void {
            mouseMove(row, 330, 5);
        }
        function killButton(): Item {
            return all(row, item => item instanceof KillButton)[0] ?? null;
        }
        function full() {
            return {
                port: 5432,
                pid: 812,
                process: "postgres",
                description: "PostgreSQL",
                command: "/usr/bin/postgres",
                originArguments: ["postgres", "-D", "/home/ann/data"],
                cwd: "/home/ann/data",
                memoryBytes: 31457280,
                age: 273600
            };
        }
        function test_placesItsColumns(): void {
            show(full());
            const port = textItem(row, ":5432");
            const badge = all(row, item => item instanceof TierBadgeView)[0];
            compare(port.mapToItem(row, 0, 0), Qt.point(14, 10));
            compare(badge.mapToItem(row, 0, 0), Qt.point(14 + 74 + 12, 10 + 2));
            compare(textItem(row, "PostgreSQL").mapToItem(row, 0, 0), Qt.point(14 + 74 + 12 + 72 + 12, 10));
            const pid = textItem(row, "pid 812");
            compare(pid.mapToItem(row, pid.width, 0), Qt.point(560 - 14, 10));
        }
        function test_showsNoUptimeWhereTheOwnerIsUnknown(): void {
            show({ pid: 0, process: "unknown" });
            verify(textItem(row, "pid 0"));
            compare(all(row, item => item instanceof LiveUptimeLabel && item.visible).length, 0);
        }
        function test_setsItsTextsInTheFontsOfEach(): void {
            show(full());
            compareFont(textItem(row, ":5432").font, 13, Font.Medium, 0);
            compareFont(textItem(row, "PostgreSQL").font, 13, Font.Normal, 0);
            compareFont(textItem(row, "· postgres").font, 11, Font.Normal, 0);
            for (const text of ["postgres -D ~/data", "in ~/data", "pid 812", "3d 4h", "30 MB"]) {
                compareFont(textItem(row, text).font, 10, Font.Normal, 0);
                compare(textItem(row, text).font.family, Theme.monospaced);
            }
        }
        function test_coloursItsTexts(): void {
            show(full());
            compareColor(textItem(row, ":5432").color, 96, 165, 250, 1);
            compareColor(textItem(row, "PostgreSQL").color, 230, 237, 245, 1);
            compareColor(textItem(row, "· postgres").color, 138, 152, 176, 1);
            compareColor(textItem(row, "postgres -D ~/data").color, 93, 107, 130, 1);
            compareColor(textItem(row, "in ~/data").color, 138, 152, 176, 0.85);
            compareColor(textItem(row, "pid 812").color, 138, 152, 176, 1);
            compareColor(textItem(row, "3d 4h").color, 93, 107, 130, 1);
            compareColor(textItem(row, "30 MB").color, 93, 107, 130, 1);
        }
        function test_stacksItsLinesThreeAndTwoPointsApart(): void {
            show(full());
            const title = textItem(row, "PostgreSQL");
            const command = textItem(row, "postgres -D ~/data");
            const folder = textItem(row, "in ~/data");
            compare(command.mapToItem(row, 0, 0).y, 10 + title.height + 3);
            compare(folder.mapToItem(row, 0, 0).y, command.mapToItem(row, 0, 0).y + command.height + 3);
            compare(row.height, folder.mapToItem(row, 0, 0).y + folder.height + 10);
            const pid = textItem(row, "pid 812");
            compare(textItem(row, "3d 4h").mapToItem(row, 0, 0).y, 10 + pid.height + 2);
        }
        function test_putsTheProcessSixPointsBehindItsDescription(): void {
            show(full());
            const title = textItem(row, "PostgreSQL");
            compare(textItem(row, "· postgres").mapToItem(title, 0, 0).x, title.width + 6);
        }
        function test_leavesOutWhatItDoesNotKnow(): void {
            show({
                process: "node",
                description: "Node"
            });
            compare(all(row, item => item instanceof Text && item.visible && item.text === "").length, 0);
            compare(all(row, item => item instanceof Text && item.visible && item.text.startsWith("·")).length, 0);
            compare(all(row, item => item instanceof Text && item.visible && item.text.startsWith("in ")).length, 0);
        }
        function test_offersToKillWhileThePointerIsOnIt(): void {
            show(full());
            hover();
            verify(killButton());
            compare(textItem(row, "pid 812"), null);
            const button = killButton();
            tryVerify(() => button.parent.opacity === 1);
            compare(button.mapToItem(row, button.width, 0), Qt.point(560 - 14, 11));
            leave(root);
            verify(textItem(row, "pid 812"));
            tryVerify(() => killButton() === null);
        }
        function test_asksForTheKillOnceForAClick(): void {
            show(full());
            hover();
            mouseClick(killButton());
            compare(kills.count, 1);
        }
        function test_keepsTheHoverWhileThePointerIsOnItsButton(): void {
            show(full());
            hover();
            const button = killButton();
            mouseMove(button, 5, 5);
            verify(row.isHovered);
            verify(button.isHovered);
        }
        function test_offersToKillAnUnknownProcess(): void {
            show({
                tier: "unknown"
            });
            hover();
            verify(killButton());
        }
        function test_showsWhereASystemServiceIsSwitchedOff(): void {
            show({
                tier: "system",
                settingsLink: "Sharing"
            });
            hover();
            compare(killButton(), null);
            compare(textItem(row, "pid 812"), null);
            const badge = all(row, item => item instanceof SettingsDeepLinkBadge)[0];
            compare(badge.label, "Sharing");
            compare(badge.mapToItem(row, badge.width, 0), Qt.point(560 - 14, 11));
        }
        function test_keepsTheFiguresOfASystemServiceWithoutAPane(): void {
            show({
                tier: "system"
            });
            hover();
            compare(killButton(), null);
            verify(textItem(row, "pid 812"));
        }
        function test_makesRoomForTheNameOfThePane(): void {
            show({
                tier: "system",
                settingsLink: "Sharing"
            });
            hover();
            const content = all(row, item => item instanceof PortRowContent)[0];
            compare(content.width, 560 - 14 - 160 - 12 - 184);
        }
        function test_givesTheContentWhatTheFiguresLeave(): void {
            show({
                pid: 1
            });
            const content = all(row, item => item instanceof PortRowContent)[0];
            compare(content.width, 560 - 14 - 76 - 12 - 184);
        }
        function test_tintsItsBackground_data() {
            return [
                {
                    tag: "ordinary",
                    tier: "dev",
                    hovered: false,
                    white: 0
                },
                {
                    tag: "ordinary, hovered",
                    tier: "dev",
                    hovered: true,
                    white: 0.07
                },
                {
                    tag: "system",
                    tier: "system",
                    hovered: false,
                    white: 0.025
                },
                {
                    tag: "system, hovered",
                    tier: "system",
                    hovered: true,
                    white: 0.025
                }
            ];
        }
        function test_tintsItsBackground(data) {
            show({
                tier: data.tier
            });
            if (data.hovered)
                hover();
            const mixed = part => Math.round(part + (255 - part) * data.white);
            comparePixel(root, 5, 63, mixed(11), mixed(17), mixed(32));
        }
        function test_keepsItsHeightWhateverItShows(): void {
            const texts = full();
            texts.originArguments = ["x".repeat(45) + " " + "y".repeat(30)];
            for (const tier of ["dev", "system"]) {
                texts.tier = tier;
                texts.settingsLink = "Sharing";
                show(texts);
                const before = row.height;
                hover();
                wait(0);
                compare(row.height, before);
                leave(root);
                compare(row.height, before);
            }
        }
        function test_isNotWidenedByAnything(): void {
            const path = "/very/long/path".repeat(200);
            show({
                process: path,
                description: "word ".repeat(300),
                originArguments: [path],
                cwd: path,
                memoryBytes: 1
            });
            for (const text of all(row, item => item instanceof Text && isShown(item))) {
                verify(text.mapToItem(row, text.width, 0).x <= 560 - 14);
                verify(text.lineCount <= 2);
            }
            verify(row.height < 130);
        }
        function test_letsTheKeyboardAskForTheKill_data() {
            return [
                {
                    tag: "Return",
                    key: Qt.Key_Return
                },
                {
                    tag: "Enter",
                    key: Qt.Key_Enter
                },
                {
                    tag: "Delete",
                    key: Qt.Key_Delete
                }
            ];
        }
        function test_letsTheKeyboardAskForTheKill(data) {
            show(full());
            row.forceActiveFocus();
            verify(killButton());
            keyClick(data.key);
            compare(kills.count, 1);
        }
        function test_neverAsksForTheKillOfASystemService(): void {
            show({
                tier: "system"
            });
            row.forceActiveFocus();
            keyClick(Qt.Key_Delete);
            compare(kills.count, 0);
        }
        function test_tellsAssistiveTechnologyWhatItIs(): void {
            show(full());
            compare(row.Accessible.role, Accessible.ListItem);
            compare(row.Accessible.name, "PostgreSQL, port 5432, dev");
            compare(row.Accessible.description, "postgres -D ~/data in ~/data");
        }
    }
}
