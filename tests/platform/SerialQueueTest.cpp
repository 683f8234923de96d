#include "platform/SerialQueue.h"

#include "platform/MainThread.h"
#include "support/TestSupport.h"

#include <QThread>

#include <gtest/gtest.h>
#include <mutex>
#include <vector>

using namespace veilora;
using namespace std::chrono_literals;

TEST(SerialQueueTest, RunsInOrderOneAtATimeOffTheMainThread)
{
    SerialQueue queue(QStringLiteral("com.norvane.test"));
    std::vector<int> order;
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> onMain{false};
    for (int i = 0; i < 200; ++i) {
        queue.async([&, i]() {
            if (running.fetch_add(1) != 0)
                overlapped = true;
            if (isMainThread())
                onMain = true;
            order.push_back(i);
            running.fetch_sub(1);
        });
    }
    queue.sync([]() {});
    ASSERT_EQ(order.size(), 200u);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(order[size_t(i)], i);
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(onMain);
}

TEST(SerialQueueTest, CancelledDelayedWorkNeverRuns)
{
    SerialQueue queue(QStringLiteral("com.norvane.test"));
    std::atomic<int> ran{0};
    auto first = queue.asyncAfter(50ms, [&]() { ran += 1; });
    auto second = queue.asyncAfter(50ms, [&]() { ran += 10; });
    first->cancel();
    EXPECT_TRUE(test::waitUntil([&]() { return ran.load() == 10; }, 2s));
    test::processEventsFor(100ms);
    EXPECT_EQ(ran.load(), 10);
}

TEST(SerialQueueTest, DestroyingDropsPendingWork)
{
    std::atomic<int> ran{0};
    {
        SerialQueue queue(QStringLiteral("com.norvane.test"));
        queue.asyncAfter(10s, [&]() { ++ran; });
    }
    EXPECT_EQ(ran.load(), 0);
}

TEST(MainThreadTest, HopsToMainAndSkipsDeadOwners)
{
    SerialQueue queue(QStringLiteral("com.norvane.test"));
    auto alive = std::make_unique<QObject>();
    auto gone = std::make_unique<QObject>();
    QPointer<QObject> weakAlive(alive.get());
    QPointer<QObject> weakGone(gone.get());
    bool aliveRan = false;
    bool goneRan = false;
    bool ranOnMain = false;
    queue.sync([&]() {
        runOnMain(weakAlive, [&](QObject *) {
            aliveRan = true;
            ranOnMain = isMainThread();
        });
        runOnMain(weakGone, [&](QObject *) { goneRan = true; });
    });
    gone.reset();
    EXPECT_TRUE(test::waitUntil([&]() { return aliveRan; }));
    test::processEventsFor(20ms);
    EXPECT_TRUE(ranOnMain);
    EXPECT_FALSE(goneRan) << "a callback whose owner is gone does nothing";
}
