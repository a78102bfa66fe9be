// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/MainThread.h"

#include "tests/Support/EventLoop.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCoroTask>
#include <QEvent>
#include <QObject>

#include <memory>
#include <thread>
#include <vector>

using namespace Tarnwick;

namespace {

QCoro::Task<void> noteEntry(int &entries)
{
    co_await MainThread::enter();
    ++entries;
}

} // namespace

TEST(MainThread, IsTheThreadOfTheApplication)
{
    EXPECT_TRUE(MainThread::isCurrent());
    bool elsewhere = true;
    std::thread([&elsewhere] { elsewhere = MainThread::isCurrent(); }).join();
    EXPECT_FALSE(elsewhere);
}

TEST(MainThread, RunsATaskOfAnotherThreadFromTheEventLoop)
{
    std::thread::id ranOn;
    std::thread([&ranOn] {
        MainThread::post([&ranOn] { ranOn = std::this_thread::get_id(); });
    }).join();
    EXPECT_EQ(ranOn, std::thread::id());
    ASSERT_TRUE(await([&ranOn] { return ranOn != std::thread::id(); }));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(MainThread, DefersATaskOfItsOwnToTheEventLoop)
{
    bool ran = false;
    MainThread::post([&ran] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(await([&ran] { return ran; }));
}

TEST(MainThread, RunsTasksInTheOrderOfTheirPosting)
{
    std::vector<int> order;
    std::thread([&order] {
        for (int i = 0; i < 100; ++i) {
            MainThread::post([&order, i] { order.push_back(i); });
        }
    }).join();
    ASSERT_TRUE(await([&order] { return order.size() == 100; }));
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(MainThread, LetsOtherEventsComeBetweenTwoTasks)
{
    class Other : public QObject
    {
    public:
        explicit Other(std::vector<int> &order)
            : m_order(order)
        {
        }

    protected:
        void customEvent(QEvent * /*event*/) override { m_order.push_back(2); }

    private:
        std::vector<int> &m_order;
    };

    std::vector<int> order;
    Other other(order);
    MainThread::post([&order, &other] {
        order.push_back(1);
        QCoreApplication::postEvent(&other, std::make_unique<QEvent>(QEvent::User).release());
        MainThread::post([&order] { order.push_back(3); });
    });
    ASSERT_TRUE(await([&order] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainThread, RunsTheNextTaskFromALoopThatATaskRuns)
{
    bool second = false;
    bool seen = false;
    MainThread::post([&second, &seen] { seen = await([&second] { return second; }); });
    MainThread::post([&second] { second = true; });
    EXPECT_TRUE(await([&second] { return second; }));
    EXPECT_TRUE(seen);
}

TEST(MainThread, LetsACoroutineThatIsThereGoOnAtOnce)
{
    int entries = 0;
    noteEntry(entries);
    EXPECT_EQ(entries, 1);
}
