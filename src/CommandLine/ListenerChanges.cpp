// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerChanges.h"

namespace Tarnwick {

std::vector<const Listener *> listenersOnlyIn(std::span<const Listener> some,
                                              std::span<const Listener> others)
{
    std::vector<const Listener *> result;
    auto other = others.begin();
    for (const Listener &listener : some) {
        while (other != others.end() && comesBefore(*other, listener)) {
            ++other;
        }
        if (other != others.end() && !comesBefore(listener, *other)) {
            ++other;
        } else {
            result.push_back(&listener);
        }
    }
    return result;
}

} // namespace Tarnwick
