// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/ModalQuestion.h"

namespace Tarnwick {

/// Puts @p question to the user in a message box; Escape and closing it count as no. An AskUser.
[[nodiscard]] ModalAnswer askInMessageBox(const ModalQuestion &question);

} // namespace Tarnwick
