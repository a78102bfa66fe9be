// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

class FileViewer;

/// Asks @p viewer to show the diagnostic log, whether it exists or not. Main thread.
void revealLog(FileViewer &viewer);

} // namespace Tarnwick
