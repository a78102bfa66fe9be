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
    height: 200

    SelectableText {
        id: label

        x: 10
        y: 50
        width: implicitWidth
        text: "npm run dev"
        color: "black"
        font.pixelSize: 10
    }
    SelectableText {
        id: narrow

        x: 10
        y: 90
        width: 100
        text: "a command line that is much longer than the room that there is for it"
        color: "black"
        font.pixelSize: 10
        wrapMode: Text.Wrap
        maximumLineCount: 2
    }
    TextEdit {
        id: clipboard

        visible: false
    }

    ViewTestCase {
        name: "SelectableText"

        function init(): void {
            leave(root);
            clipboard.text = "";
            label.text = "other";
            label.text = "npm run dev";
        }
        function editor(item: Item): TextEdit {
            return all(item, child => child instanceof TextEdit)[0] ?? null;
        }
        function pasted(): string {
            clipboard.paste();
            return clipboard.text;
        }
        function test_isJustATextUntilThePointerComes(): void {
            compare(editor(label), null);
            mouseMove(label, 5, 5);
            verify(editor(label));
            leave(root);
            tryVerify(() => editor(label) === null);
        }
        function test_looksTheSameWithAndWithoutThePointer(): void {
            const before = grabImage(label);
            mouseMove(label, 5, 5);
            verify(editor(label));
            verify(before.equals(grabImage(label)));
        }
        function test_isSelectedAndCopied(): void {
            mouseMove(label, 5, 5);
            mouseDoubleClickSequence(label, 5, 5);
            compare(editor(label).selectedText, "npm");
            keySequence(StandardKey.Copy);
            compare(pasted(), "npm");
        }
        function test_isSelectedByDragging(): void {
            mouseMove(label, 1, 5);
            mousePress(label, 0, 5);
            mouseMove(label, label.width / 2, 5);
            mouseMove(label, label.width, 5);
            mouseRelease(label, label.width, 5);
            compare(editor(label).selectedText, "npm run dev");
        }
        function test_staysSelectedWhenThePointerLeaves(): void {
            mouseMove(label, 5, 5);
            mouseDoubleClickSequence(label, 5, 5);
            leave(root);
            compare(editor(label).selectedText, "npm");
        }
        function test_isNoLongerSelectedWhenItChanges(): void {
            mouseMove(label, 5, 5);
            mouseDoubleClickSequence(label, 5, 5);
            leave(root);
            label.text = "npm run build";
            tryVerify(() => editor(label) === null);
        }
        function test_isCutAndGivesTheWholeInACopy(): void {
            verify(narrow.truncated);
            compare(narrow.lineCount, 2);
            mouseMove(narrow, 5, 5);
            mouseClick(narrow, 5, 5);
            keySequence(StandardKey.SelectAll);
            keySequence(StandardKey.Copy);
            compare(pasted(), narrow.text);
        }
        function test_showsTheWholeInATooltipWhereItIsCut(): void {
            mouseMove(narrow, 5, 5);
            tryVerify(() => textItem(root.Window.contentItem, narrow.text) !== null && all(root.Window.contentItem, item => item instanceof Text && item.text === narrow.text).length === 2, 3000);
        }
        function test_isNeverTakenForMarkup(): void {
            label.text = "<b>bold</b>";
            const shown = textItem(label, "<b>bold</b>");
            compare(shown.textFormat, Text.PlainText);
            mouseMove(label, 5, 5);
            compare(editor(label).textFormat, TextEdit.PlainText);
        }
    }
}
