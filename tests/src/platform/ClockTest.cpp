#include "platform/Clock.h"

#include "Await.h"

#include <QTimer>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

QCoro::Task<> waitAndCount(
    std::chrono::milliseconds duration, CancellationHandle cancellation, int* ended)
{
    co_await Clock::system().wait(duration, cancellation);
    ++*ended;
}

} // namespace

TEST(Clock, WaitsAtLeastAsLongAsAsked)
{
    for (const CancellationHandle& handle :
        {CancellationHandle(), std::make_shared<Cancellation>()}) {
        QElapsedTimer timer;
        timer.start();
        await(Clock::system().wait(60ms, handle));
        EXPECT_GE(timer.nsecsElapsed(), 59'000'000);
    }
    await(Clock::system().wait(-5ms, {}));
}

TEST(Clock, ACancelledWaitEndsAtOnceAndOnlyOnce)
{
    const auto cancellation = std::make_shared<Cancellation>();
    int ended = 0;
    const QCoro::Task<> first = waitAndCount(1h, cancellation, &ended);
    const QCoro::Task<> second = waitAndCount(1h, cancellation, &ended);
    EXPECT_EQ(ended, 0);
    cancellation->request();
    cancellation->request();
    EXPECT_TRUE(turnUntil([&] { return ended == 2; }));

    const QCoro::Task<> late = waitAndCount(1h, cancellation, &ended);
    EXPECT_EQ(ended, 3) << "a wait that is cancelled already doesn't even suspend";
}

TEST(Clock, AWaitKeepsItsCancellationAlive)
{
    auto cancellation = std::make_shared<Cancellation>();
    std::weak_ptr<Cancellation> weak = cancellation;
    int ended = 0;
    {
        const QCoro::Task<> waiting = waitAndCount(30ms, std::move(cancellation), &ended);
        EXPECT_FALSE(weak.expired());
        EXPECT_TRUE(turnUntil([&] { return ended == 1; }));
    }
    EXPECT_TRUE(weak.expired());
}
