// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

class QWindow;

namespace Tarnwick {

/// The workspaces of the desktop, of which the user sees one at a time.
class Workspaces
{
public:
    Workspaces() = delete;

    /// Moves @p window, where it is shown, to the workspace that the user sees. On Wayland, where
    /// nobody can say on which it is, one that has not the keyboard is hidden: shown again, it
    /// appears on the workspace that the user sees.
    static void bringToUser(QWindow &window);
};

} // namespace Tarnwick
