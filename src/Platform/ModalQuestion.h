// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstdint>
#include <functional>

namespace Tarnwick {

/// A question of informational style to which the application needs an answer before it goes on.
struct ModalQuestion
{
    QString message;
    QString informativeText;
    QString firstButton; ///< the default
    QString secondButton;
};

enum class ModalAnswer : std::uint8_t {
    FirstButton,
    Other, ///< the second button, or the question was closed in another way
};

/// Puts the question to the user and returns with the answer. Main thread.
using AskUser = std::function<ModalAnswer(const ModalQuestion &question)>;

} // namespace Tarnwick
