// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/EventLoop.h"

#include <QTimer>

#include <chrono>

namespace Tarnwick {

/// As await(), for what comes about outside this process, so that no event tells of it.
template<class Predicate>
[[nodiscard]] bool awaitOutside(Predicate predicate)
{
    QTimer tick;
    tick.start(std::chrono::milliseconds(5));
    return await(predicate);
}

} // namespace Tarnwick
