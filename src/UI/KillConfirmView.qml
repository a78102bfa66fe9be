// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The question before a kill, over everything else. It only tells what the user decided.
FocusScope {
    id: root

    required property portRow entry
    readonly property color backdrop: Qt.rgba(5 / 255, 8 / 255, 15 / 255, 0.94)

    signal cancelled
    signal confirmed

    Accessible.role: Accessible.Dialog
    Accessible.name: heading.text + " " + entry.description + " " + entry.killDetail
    // A key that is still held down from the row must not decide.
    Keys.onPressed: event => {
        event.accepted = event.key !== Qt.Key_Tab && event.key !== Qt.Key_Backtab;
        // With others held, a key was meant for something else.
        if (event.isAutoRepeat || (event.modifiers & ~Qt.KeypadModifier) !== Qt.NoModifier)
            return;
        if (event.key === Qt.Key_Escape)
            root.cancelled();
        else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            root.confirmed();
    }

    Rectangle {
        anchors.fill: parent
        color: root.backdrop
    }
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onClicked: mouse => {
            if (mouse.button === Qt.LeftButton)
                root.cancelled();
        }
        // The second click of two on the button that asked is no answer.
        onDoubleClicked: mouse => mouse.accepted = true
        onWheel: wheel => wheel.accepted = true
    }
    Column {
        anchors.centerIn: parent
        width: parent.width - 64
        spacing: 14

        PlainText {
            id: heading

            anchors.horizontalCenter: parent.horizontalCenter
            text: "KILL PROCESS?"
            color: Theme.killRed
            font.family: Theme.monospaced
            font.pixelSize: 10
            font.weight: Font.DemiBold
            font.letterSpacing: 2.5
            Accessible.role: Accessible.Heading
        }
        Column {
            width: parent.width
            spacing: 6

            PlainText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.entry.description
                font.pixelSize: 14
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
                elide: Text.ElideRight
                maximumLineCount: 3
            }
            PlainText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.entry.killDetail
                color: Theme.textSecondary
                font.family: Theme.monospaced
                font.pixelSize: 10
                wrapMode: Text.Wrap
                elide: Text.ElideRight
                maximumLineCount: 3
            }
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            topPadding: 4
            spacing: 10

            KillDialogButton {
                label: "CANCEL"
                kind: KillDialogButton.Secondary
                onClicked: root.cancelled()
            }
            KillDialogButton {
                label: "KILL IT"
                kind: KillDialogButton.Destructive
                onClicked: root.confirmed()
            }
        }
    }
}
