// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A text that is never taken for markup, whatever a process calls itself.
Text {
    textFormat: Text.PlainText
    color: Theme.textPrimary
}
