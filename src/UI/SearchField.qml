// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The field that the list is searched with.
FocusScope {
    id: root

    required property PanelModel panel
    readonly property bool isFocused: field.activeFocus

    /// What is typed next replaces what was searched for.
    function takeFocus(): void {
        field.forceActiveFocus(Qt.ShortcutFocusReason);
        field.selectAll();
    }

    implicitWidth: content.implicitWidth + 16
    implicitHeight: content.implicitHeight + 8

    Rectangle {
        anchors.fill: parent
        radius: 4
        color: Theme.withOpacity("white", 0.04)
        border.width: 1
        border.color: root.isFocused ? Theme.borderStrong : Theme.border
    }
    Row {
        id: content

        x: 8
        y: 4
        spacing: 6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "magnifyingglass"
            pixelSize: 10
            color: root.isFocused ? Theme.textSecondary : Theme.textTertiary
        }
        TextInput {
            id: field

            width: 140
            anchors.verticalCenter: parent.verticalCenter
            focus: true
            activeFocusOnTab: true
            clip: true
            text: root.panel.searchQuery
            color: Theme.textPrimary
            selectionColor: Theme.selection
            selectedTextColor: Theme.textPrimary
            selectByMouse: true
            font.family: Theme.monospaced
            font.pixelSize: 11
            Accessible.role: Accessible.EditableText
            Accessible.name: "Search"
            Accessible.searchEdit: true
            onTextEdited: root.panel.searchQuery = text

            PlainText {
                visible: field.text.length === 0 && field.preeditText.length === 0
                text: "search"
                color: Theme.textTertiary
                font: field.font
                Accessible.ignored: true
            }
            HoverHandler {
                cursorShape: Qt.IBeamCursor
            }
        }
        PlainButton {
            id: clear

            anchors.verticalCenter: parent.verticalCenter
            visible: root.panel.searchQuery.length > 0
            label: "Clear search"
            width: symbol.width
            height: symbol.height
            cornerRadius: 6
            onClicked: {
                root.panel.searchQuery = "";
                field.forceActiveFocus();
            }

            Symbol {
                id: symbol

                width: implicitWidth
                height: implicitHeight
                name: "xmark.circle.fill"
                pixelSize: 10
                color: Theme.textSecondary
            }
        }
    }
}
