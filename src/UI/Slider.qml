// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A number within a range, in steps. It shows what it is told and tells what the user wants, which
/// is always a whole number of steps from the beginning of the range.
Item {
    id: root

    /// What it is called by those who do not see it.
    required property string label
    required property real current
    required property real minimumValue
    required property real maximumValue
    required property real stepSize
    /// What assistive technology reads, and writes.
    property real value: current
    readonly property int pageSteps: 10
    readonly property real inset: knob.width / 2
    readonly property real fraction: (current - minimumValue) / (maximumValue - minimumValue)
    readonly property real knobCentre: inset + fraction * (width - 2 * inset)

    signal moved(value: real)

    function ask(wanted: real): void {
        const steps = Math.round((wanted - minimumValue) / stepSize);
        const allowed = Math.max(minimumValue, Math.min(maximumValue, minimumValue + steps * stepSize));
        if (allowed !== current)
            root.moved(allowed);
    }
    function step(steps: int): void {
        ask(current + steps * stepSize);
    }
    function askAt(x: real): void {
        ask(minimumValue + (x - inset) / (width - 2 * inset) * (maximumValue - minimumValue));
    }
    /// Whether the key is one of the slider's.
    function press(key: int): bool {
        switch (key) {
        case Qt.Key_Left:
        case Qt.Key_Down:
            step(-1);
            return true;
        case Qt.Key_Right:
        case Qt.Key_Up:
            step(1);
            return true;
        case Qt.Key_PageDown:
            step(-pageSteps);
            return true;
        case Qt.Key_PageUp:
            step(pageSteps);
            return true;
        case Qt.Key_Home:
            ask(minimumValue);
            return true;
        case Qt.Key_End:
            ask(maximumValue);
            return true;
        }
        return false;
    }

    implicitWidth: 200
    implicitHeight: 20
    activeFocusOnTab: true
    Accessible.role: Accessible.Slider
    Accessible.name: label
    Accessible.focusable: true
    Accessible.onIncreaseAction: root.step(1)
    Accessible.onDecreaseAction: root.step(-1)
    Keys.onPressed: event => event.accepted = root.press(event.key)
    onValueChanged: {
        if (value !== current) {
            const wanted = value;
            value = Qt.binding(() => root.current);
            ask(wanted);
        }
    }

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: 4
        radius: 2
        color: Theme.controlTrack
    }
    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: root.knobCentre
        height: 4
        radius: 2
        color: Theme.accentBlue
    }
    Rectangle {
        id: knob

        anchors.verticalCenter: parent.verticalCenter
        x: root.knobCentre - width / 2
        width: 16
        height: 16
        radius: 8
        color: Theme.controlKnob
    }
    MouseArea {
        property real grip: 0
        property int turned: 0

        anchors.fill: parent
        preventStealing: true
        cursorShape: Qt.PointingHandCursor
        onPressed: mouse => {
            grip = Math.abs(mouse.x - root.knobCentre) <= root.inset ? mouse.x - root.knobCentre : 0;
            root.askAt(mouse.x - grip);
        }
        onPositionChanged: mouse => root.askAt(mouse.x - grip)
        onWheel: wheel => {
            // Touch pads tell of parts of a notch.
            turned += wheel.angleDelta.y;
            const notches = Math.trunc(turned / 120);
            turned -= notches * 120;
            root.step(notches);
        }
    }
    FocusRing {
        cornerRadius: 6
    }
}
