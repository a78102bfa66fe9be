// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A choice of on and off: a label and, at the end of the line, a switch. It shows what it is told
/// and tells what the user wants.
PlainButton {
    id: root

    required property bool checked

    signal toggled(checked: bool)

    implicitWidth: caption.implicitWidth + 12 + track.width
    implicitHeight: Math.max(caption.height, track.height) + 18
    opacity: enabled ? 1 : 0.4
    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onToggleAction: {
        if (enabled)
            root.clicked();
    }
    onClicked: root.toggled(!root.checked)

    PlainText {
        id: caption

        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, root.width - 12 - track.width)
        text: root.label
        font.pixelSize: Theme.bodySize
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    Rectangle {
        id: track

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: 34
        height: 20
        radius: height / 2
        color: root.checked ? Theme.accentBlue : Theme.controlTrack

        Rectangle {
            x: root.checked ? parent.width - width - 2 : 2
            y: 2
            width: 16
            height: 16
            radius: width / 2
            color: Theme.controlKnob

            Behavior on x {
                NumberAnimation {
                    duration: 120
                    easing.type: Easing.InOutQuad
                }
            }
        }
    }
}
