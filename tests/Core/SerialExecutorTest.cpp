// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/SerialExecutor.h"

#include "Core/MainThread.h"
#include "tests/Support/EventLoop.h"

#include <gtest/gtest.h>

#include <QCoroTask>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

using namespace Tarnwick;

namespace {

QCoro::Task<void> noteThreads(SerialExecutor &executor, std::vector<std::thread::id> &threads)
{
    threads.push_back(std::this_thread::get_id());
    co_await executor.enter();
    threads.push_back(std::this_thread::get_id());
    co_await MainThread::enter();
    threads.push_back(std::this_thread::get_id());
}

} // namespace

TEST(SerialExecutor, RunsTasksInTheOrderOfTheirPosting)
{
    std::vector<int> order;
    {
        SerialExecutor executor;
        for (int i = 0; i < 1000; ++i) {
            executor.post([&order, i] { order.push_back(i); });
        }
    }
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(SerialExecutor, RunsEveryTaskOnOneThreadThatIsNotTheCallers)
{
    std::vector<std::thread::id> threads;
    {
        SerialExecutor executor;
        executor.post([&threads] { threads.push_back(std::this_thread::get_id()); });
        executor.post([&threads] { threads.push_back(std::this_thread::get_id()); });
    }
    ASSERT_EQ(threads.size(), 2U);
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(SerialExecutor, RunsWhatATaskPostsBeforeItEnds)
{
    std::vector<int> order;
    {
        SerialExecutor executor;
        executor.post([&executor, &order] {
            executor.post([&order] { order.push_back(2); });
            order.push_back(1);
        });
    }
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialExecutor, FreesATaskOnItsOwnThread)
{
    std::thread::id freedOn;
    {
        SerialExecutor executor;
        std::shared_ptr<int> held(new int(0), [&freedOn](const int *number) {
            freedOn = std::this_thread::get_id();
            delete number;
        });
        executor.post([held = std::move(held)] { EXPECT_EQ(*held, 0); });
    }
    EXPECT_NE(freedOn, std::thread::id());
    EXPECT_NE(freedOn, std::this_thread::get_id());
}

TEST(SerialExecutor, CarriesACoroutineToItsThreadAndBack)
{
    SerialExecutor executor;
    std::vector<std::thread::id> threads;
    const QCoro::Task<void> task = noteThreads(executor, threads);
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    ASSERT_EQ(threads.size(), 3U);
    EXPECT_EQ(threads[0], std::this_thread::get_id());
    EXPECT_NE(threads[1], std::this_thread::get_id());
    EXPECT_EQ(threads[2], std::this_thread::get_id());
}

TEST(SerialExecutor, LetsACoroutineInItsQueueGoOnWhenItIsDestroyed)
{
    std::optional<SerialExecutor> executor(std::in_place);
    std::vector<std::thread::id> threads;
    const QCoro::Task<void> task = noteThreads(*executor, threads);
    executor.reset();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_EQ(threads.size(), 3U);
}
