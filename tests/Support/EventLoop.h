// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace Tarnwick {

/// How long a test waits for what has to happen: longer than any machine should need.
inline constexpr std::chrono::seconds patience{30};

/// Runs the event loop until @p predicate holds, which events bring about, or until @p bound has
/// passed. Whether it holds then.
template<class Predicate>
[[nodiscard]] bool await(Predicate predicate, std::chrono::milliseconds bound = patience)
{
    QTimer alarm;
    alarm.setSingleShot(true);
    alarm.start(bound);
    while (!predicate() && alarm.isActive()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return predicate();
}

} // namespace Tarnwick
