// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

class QWindow;

namespace Tarnwick {

/// The lists of windows that a desktop offers: task bars, pagers, switchers.
class TaskBars
{
public:
    TaskBars() = delete;

    /// Keeps @p window, made but not yet shown, out of them. Needed before each showing, for window
    /// managers forget. Nothing on other displays than X11, where such windows are in no list.
    static void leaveOut(QWindow &window);
};

} // namespace Tarnwick
