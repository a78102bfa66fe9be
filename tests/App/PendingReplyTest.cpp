// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/PendingReply.h"
#include "App/UnansweredCalls.h"
#include "tests/Support/Answer.h"
#include "tests/Support/EventLoop.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>

using namespace Tarnwick;

namespace {

struct Reply
{
    int number = 0;
    std::string text;
};

using Callback = std::function<void(int number, std::string text)>;

/// Hands the callback over, and ends with the number of the reply.
QCoro::Task<int> numberOf(std::function<void(Callback callback)> handOver)
{
    PendingReply<Reply> pending;
    handOver(pending.callback());
    const Reply reply = co_await pending;
    co_return reply.number;
}

} // namespace

TEST(PendingReply, IsThereAtOnceWhenTheCallbackWasCalledBeforeTheWait)
{
    const Answer<int> answer(numberOf([](const Callback &callback) { callback(7, "x"); }));
    ASSERT_TRUE(answer.isThere());
    EXPECT_EQ(answer.value(), 7);
}

TEST(PendingReply, EndsTheWaitWithinTheCallOnTheMainThread)
{
    Callback kept;
    const Answer<int> answer(numberOf([&kept](Callback callback) { kept = std::move(callback); }));
    EXPECT_FALSE(answer.isThere());
    kept(7, "x");
    EXPECT_TRUE(answer.isThere());
}

TEST(PendingReply, TakesTheFirstOfSeveralReplies)
{
    const Answer<int> answer(numberOf([](const Callback &callback) {
        std::thread([callback] { callback(1, "first"); }).join();
        callback(2, "second");
        const Callback copy = callback;
        copy(3, "third");
    }));
    ASSERT_TRUE(await([&answer] { return answer.isThere(); }));
    EXPECT_EQ(answer.value(), 1);
}

TEST(PendingReply, EntersAmongTheUnansweredWhenTheLastCopyOfTheCallbackIsLetGo)
{
    const std::size_t before = UnansweredCalls::count();
    Callback kept;
    const Answer<int> answer(numberOf([&kept](Callback callback) { kept = std::move(callback); }));
    Callback copy = kept;
    kept = nullptr;
    EXPECT_FALSE(await([before] { return UnansweredCalls::count() > before; },
                       std::chrono::milliseconds(20)));
    std::thread([last = std::move(copy)]() mutable { last = nullptr; }).join();
    EXPECT_TRUE(await([before] { return UnansweredCalls::count() == before + 1; }));
    EXPECT_FALSE(answer.isThere());
}

TEST(PendingReply, EntersAmongTheUnansweredWhenTheCallbackIsLetGoBeforeTheWait)
{
    const std::size_t before = UnansweredCalls::count();
    const Answer<int> answer(numberOf([](const Callback &) {}));
    EXPECT_TRUE(await([before] { return UnansweredCalls::count() == before + 1; }));
    EXPECT_FALSE(answer.isThere());
}

TEST(PendingReply, IsNotAmongTheUnansweredAfterAReply)
{
    const std::size_t before = UnansweredCalls::count();
    {
        const Answer<int> answer(numberOf([](const Callback &callback) { callback(7, "x"); }));
    }
    bool turned = false;
    MainThread::post([&turned] { turned = true; });
    ASSERT_TRUE(await([&turned] { return turned; }));
    EXPECT_EQ(UnansweredCalls::count(), before);
}
