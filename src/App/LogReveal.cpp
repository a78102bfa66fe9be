// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/LogReveal.h"

#include "Platform/FileViewer.h"
#include "Shared/Paths.h"

namespace Tarnwick {

void revealLog(FileViewer &viewer)
{
    viewer.reveal(Paths::applicationSupport() / "app.log");
}

} // namespace Tarnwick
