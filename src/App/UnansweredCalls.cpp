// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UnansweredCalls.h"

#include "Core/NeverDestroyed.h"

#include <vector>

namespace Tarnwick {

namespace {

std::vector<std::coroutine_handle<>> &coroutines()
{
    static NeverDestroyed<std::vector<std::coroutine_handle<>>> kept;
    return *kept;
}

} // namespace

void UnansweredCalls::add(std::coroutine_handle<> coroutine)
{
    coroutines().push_back(coroutine);
}

std::size_t UnansweredCalls::count()
{
    return coroutines().size();
}

} // namespace Tarnwick
