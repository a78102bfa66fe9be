// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A path or a command in a row: on two lines at most, none when it is empty.
SelectableText {
    id: root

    /// While it has less room than it should, it takes no more lines than before.
    required property bool isNarrowed
    property int linesBefore: 2

    onLineCountChanged: linesBefore = isNarrowed ? linesBefore : lineCount
    visible: text.length > 0
    font.family: Theme.monospaced
    font.pixelSize: 10
    wrapMode: Text.Wrap
    maximumLineCount: isNarrowed ? Math.max(1, linesBefore) : 2
}
