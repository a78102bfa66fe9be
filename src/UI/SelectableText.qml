// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A text that can be selected and copied. It is cut where it has no room; then a tooltip shows as
/// much of it as the window has room for, and a copy of all of it is the whole. What makes it
/// selectable exists only while the pointer is over it or something of it is selected.
Item {
    id: root

    required property string text
    property alias font: label.font
    property alias color: label.color
    property alias maximumLineCount: label.maximumLineCount
    property alias wrapMode: label.wrapMode
    readonly property alias truncated: label.truncated
    readonly property alias lineCount: label.lineCount
    property bool isSelecting: false

    implicitWidth: label.implicitWidth
    implicitHeight: label.height
    onTextChanged: isSelecting = false

    PlainText {
        id: label

        width: root.width
        text: root.text
        elide: Text.ElideRight
        opacity: editor.item ? 0 : 1
        Accessible.name: root.text
    }
    HoverHandler {
        id: hover

        cursorShape: Qt.IBeamCursor
    }
    OnDemand {
        id: editor

        when: hover.hovered || root.isSelecting

        TextEdit {
            readonly property bool isUsed: activeFocus || selectedText.length > 0

            onIsUsedChanged: root.isSelecting = isUsed
            anchors.fill: root
            clip: label.truncated
            text: root.text
            textFormat: TextEdit.PlainText
            font: label.font
            color: label.color
            wrapMode: label.wrapMode
            readOnly: true
            selectByMouse: true
            selectionColor: Theme.selection
            selectedTextColor: label.color
            // A selection is no reason for the row to take these as its own.
            Keys.onReturnPressed: event => event.accepted = true
            Keys.onEnterPressed: event => event.accepted = true
            Keys.onDeletePressed: event => event.accepted = true
            Accessible.ignored: true
        }
    }
    OnDemand {
        when: hover.hovered && label.truncated

        HelpTag {
            text: root.text
        }
    }
}
