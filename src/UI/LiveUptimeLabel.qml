// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// For how long a port has been open. It is right at once whenever it appears, and follows the
/// clock of all uptimes from then on.
SelectableText {
    id: root

    /// In milliseconds since 1970.
    required property double openedAt
    property double now: UptimeClock.now()

    text: UptimeClock.format(openedAt, now)
    onOpenedAtChanged: now = UptimeClock.now()
    onVisibleChanged: now = UptimeClock.now()

    Connections {
        target: UptimeClock
        enabled: root.visible

        function onTicked(now: double): void {
            root.now = now;
        }
    }
}
