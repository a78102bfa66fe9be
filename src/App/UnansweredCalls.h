// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <coroutine>
#include <cstddef>

namespace Tarnwick {

/// The coroutines that wait for a reply which cannot come any more. By contract they stay suspended
/// until the program ends; they are kept here so that their frames, all that they cost, are not
/// lost memory. Main thread.
class UnansweredCalls
{
public:
    UnansweredCalls() = delete;

    static void add(std::coroutine_handle<> coroutine);
    [[nodiscard]] static std::size_t count();
};

} // namespace Tarnwick
