// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

FocusScope {
    id: root

    width: 300
    height: 60
    focus: true

    SamplePanel {
        id: sample
    }
    SearchField {
        id: field

        panel: sample.model
    }

    ViewTestCase {
        name: "SearchField"

        function init(): void {
            sample.model.searchQuery = "";
            field.focus = false;
            root.forceActiveFocus();
        }
        function input(): TextInput {
            return all(field, item => item instanceof TextInput)[0];
        }
        function symbol(name: string): Symbol {
            return all(field, item => item instanceof Symbol && item.name === name && item.parent.visible)[0] ?? null;
        }
        function face(): Rectangle {
            return all(field, item => item instanceof Rectangle)[0];
        }
        function test_hasRoomForItsText(): void {
            compare(input().width, 140);
            compareFont(input().font, 11, Font.Normal, 0);
            compareColor(input().color, 230, 237, 245, 1);
            compare(field.width, 8 + 12 + 6 + 140 + 8);
            compare(field.height, Math.max(12, input().height) + 8);
            verify(textItem(field, "search"));
        }
        function test_searchesWithEveryKey(): void {
            mouseClick(input());
            verify(field.isFocused);
            keyClick("n");
            keyClick("o");
            compare(sample.model.searchQuery, "no");
            compare(textItem(field, "search"), null);
        }
        function test_showsWhatIsSearchedFor(): void {
            sample.model.searchQuery = "node";
            compare(input().text, "node");
            mouseClick(input());
            keyClick(Qt.Key_End);
            keyClick("x");
            compare(sample.model.searchQuery, "nodex");
            sample.model.searchQuery = "";
            compare(input().text, "");
        }
        function test_isClearedByAButtonThatIsThereForATextOnly(): void {
            compare(symbol("xmark.circle.fill"), null);
            sample.model.searchQuery = "node";
            const button = named(field, "Clear search");
            tryCompare(field, "width", 8 + 12 + 6 + 140 + 6 + 12 + 8);
            compareColor(symbol("xmark.circle.fill").color, 138, 152, 176, 1);
            mouseClick(button);
            compare(sample.model.searchQuery, "");
            compare(named(field, "Clear search"), null);
        }
        function test_showsThatItHasTheFocus(): void {
            compareColor(symbol("magnifyingglass").color, 93, 107, 130, 1);
            compareColor(face().border.color, 255, 255, 255, 0.08);
            compareColor(face().color, 255, 255, 255, 0.04);
            mouseClick(input());
            compareColor(symbol("magnifyingglass").color, 138, 152, 176, 1);
            compareColor(face().border.color, 255, 255, 255, 0.14);
        }
        function test_tellsAssistiveTechnologyWhatItIs(): void {
            compare(input().Accessible.role, Accessible.EditableText);
            compare(input().Accessible.name, "Search");
        }
    }
}
