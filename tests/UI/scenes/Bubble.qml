// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

import QtQuick
import Tarnwick.UI

OnboardingBubble {
    width: 260
    height: 96
}
