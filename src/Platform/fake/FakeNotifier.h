// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Notifier.h"

#include <optional>
#include <utility>

namespace Tarnwick {

/// A desktop whose notifications a test sees and answers.
class FakeNotifier : public Notifier
{
public:
    void show(const Notification &notification, Handlers given) override
    {
        ++count;
        shown = notification;
        handlers = std::move(given);
    }
    void withdraw() override { shown.reset(); }

    int count = 0;                     ///< that were shown so far
    std::optional<Notification> shown; ///< now
    Handlers handlers;                 ///< of the last one
};

} // namespace Tarnwick
