// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/MainThread.h"

#include <QCoroTask>

#include <memory>
#include <optional>
#include <utility>

namespace Tarnwick {

/// What a task ended with, if it has ended: the place from which a test asks, which may go before
/// the task ends.
template<class Result>
class Answer
{
public:
    explicit Answer(QCoro::Task<Result> task) { keep(std::move(task), m_place); }

    [[nodiscard]] bool isThere() const { return m_place->result.has_value(); }
    [[nodiscard]] const Result &value() const { return m_place->result.value(); }
    /// Whether the caller of the task went on on the main thread.
    [[nodiscard]] bool cameOnMainThread() const { return m_place->onMainThread; }

private:
    struct Place
    {
        std::optional<Result> result;
        bool onMainThread = false;
    };

    static QCoro::Task<void> keep(QCoro::Task<Result> task, std::shared_ptr<Place> place)
    {
        Result result = co_await task;
        place->onMainThread = MainThread::isCurrent();
        place->result = std::move(result);
    }

    std::shared_ptr<Place> m_place = std::make_shared<Place>();
};

} // namespace Tarnwick
