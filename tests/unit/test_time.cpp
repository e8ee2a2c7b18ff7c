#include "core/Actor.h"
#include "core/WorkerThread.h"
#include "platform/fake/Executors.h"
#include "platform/fake/VirtualClock.h"
#include "platform/linux/SystemClock.h"

#include <gtest/gtest.h>

#include <dirent.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

using namespace dowsel;

namespace {

int openDescriptorCount()
{
    int count = 0;
    if (DIR *dir = ::opendir("/proc/self/fd")) {
        while (::readdir(dir))
            ++count;
        ::closedir(dir);
    }
    return count;
}

TEST(VirtualClock, FiresInDeadlineOrderAndMovesTimeToEachDeadline)
{
    VirtualClock clock(1000.0);
    InlineExecutor inline_;
    std::vector<std::pair<int, double>> fired;
    clock.scheduleAfter(7, inline_, [&] { fired.push_back({7, clock.now()}); });
    clock.scheduleAfter(2, inline_, [&] { fired.push_back({2, clock.now()}); });
    clock.scheduleAfter(2, inline_, [&] { fired.push_back({22, clock.now()}); }); // same deadline: in order
    const auto cancelled = clock.scheduleAfter(3, inline_, [&] { fired.push_back({3, clock.now()}); });
    clock.scheduleAfter(-5, inline_, [&] { fired.push_back({0, clock.now()}); }); // clamped to now
    clock.cancel(cancelled);

    clock.advance(6.9);
    EXPECT_EQ(fired, (std::vector<std::pair<int, double>>{{0, 1000}, {2, 1002}, {22, 1002}}));
    EXPECT_DOUBLE_EQ(clock.now(), 1006.9);
    clock.advance(0.1);
    ASSERT_EQ(fired.size(), 4u);
    EXPECT_EQ(fired.back().first, 7);
    EXPECT_EQ(clock.pendingCount(), 0u);
}

TEST(VirtualClock, TimersScheduledWhileFiringRunInTheSameAdvance)
{
    VirtualClock clock;
    InlineExecutor inline_;
    int ticks = 0;
    std::function<void()> tick = [&] {
        ++ticks;
        clock.scheduleAfter(1, inline_, tick);
    };
    clock.scheduleAfter(1, inline_, tick);
    clock.advance(900); // a 15-minute loop of one-second ticks
    EXPECT_EQ(ticks, 900);
    EXPECT_EQ(clock.pendingCount(), 1u);
}

TEST(VirtualClock, ChangingTheWallClockDoesNotMoveDeadlines)
{
    VirtualClock clock(5000);
    InlineExecutor inline_;
    bool fired = false;
    clock.scheduleAfter(10, inline_, [&] { fired = true; });
    clock.setWallClock(99999);
    clock.advance(9);
    EXPECT_FALSE(fired);
    clock.advance(1);
    EXPECT_TRUE(fired);
}

class Latch {
public:
    explicit Latch(int count) : m_count(count) {}
    void countDown()
    {
        std::lock_guard lock(m_mutex);
        if (--m_count == 0)
            m_done.notify_all();
    }
    bool wait()
    {
        std::unique_lock lock(m_mutex);
        return m_done.wait_for(lock, std::chrono::seconds(20), [this] { return m_count <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    int m_count;
};

TEST(BootTimeScheduler, FiresInDeadlineOrderAndSkipsCancelled)
{
    WorkerThread worker("test"); // outlives the scheduler that posts to it
    BootTimeScheduler scheduler;
    std::vector<int> order;
    Latch latch(3);
    const auto record = [&](int n) {
        return [&, n] {
            order.push_back(n); // runs on the worker, one at a time
            latch.countDown();
        };
    };
    scheduler.scheduleAfter(0.06, worker, record(3));
    const auto cancelled = scheduler.scheduleAfter(0.01, worker, record(99));
    scheduler.scheduleAfter(0.03, worker, record(2));
    scheduler.scheduleAfter(0, worker, record(1));
    scheduler.cancel(cancelled);
    ASSERT_TRUE(latch.wait());
    worker.drain();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST(BootTimeScheduler, ManyTimersShareOneKernelTimer)
{
    BootTimeScheduler scheduler;
    InlineExecutor inline_;
    const int before = openDescriptorCount();
    std::vector<Scheduler::TimerId> ids;
    for (int i = 0; i < 20000; ++i)
        ids.push_back(scheduler.scheduleAfter(3600 + i, inline_, [] {}));
    EXPECT_EQ(openDescriptorCount(), before);
    EXPECT_EQ(scheduler.pendingCount(), 20000u);
    for (auto id : ids)
        scheduler.cancel(id);
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    scheduler.cancel(123456789); // unknown: nothing happens
}

TEST(BootTimeScheduler, AnEarlierTimerRearmsThePendingOne)
{
    WorkerThread worker("test"); // outlives the scheduler that posts to it
    BootTimeScheduler scheduler;
    Latch latch(1);
    bool lateFired = false;
    scheduler.scheduleAfter(3600, worker, [&] { lateFired = true; });
    scheduler.scheduleAfter(0.02, worker, [&] { latch.countDown(); });
    EXPECT_TRUE(latch.wait());
    worker.drain();
    EXPECT_FALSE(lateFired);
}

TEST(SystemClock, ContinuousClockIsMonotonic)
{
    SystemClock clock;
    const double a = clock.continuousNow();
    const double b = clock.continuousNow();
    EXPECT_LE(a, b);
    EXPECT_GT(clock.now(), 1.6e9);
}

struct Counter {
    int value = 0;
};

TEST(Actor, CallsRunInArrivalOrderOnTheWorker)
{
    WorkerThread worker("actor");
    ManualExecutor main;
    Actor<Counter> actor(worker, std::make_unique<Counter>());
    std::vector<std::future<int>> results;
    for (int i = 0; i < 100; ++i)
        results.push_back(actor.call([i](Counter &c) {
            c.value = c.value * 2 % 1000003 + i; // order-sensitive
            return c.value;
        }));
    int expected = 0;
    for (int i = 0; i < 100; ++i) {
        expected = expected * 2 % 1000003 + i;
        EXPECT_EQ(results[size_t(i)].get(), expected);
    }
    int replied = -1;
    actor.call([](Counter &c) { return c.value; }, main, [&](int v) { replied = v; });
    worker.drain();
    EXPECT_EQ(replied, -1); // not until the main thread runs its queue
    main.runAll();
    EXPECT_EQ(replied, expected);
}

} // namespace

namespace {

// Cancelling from another thread while timers are falling due: after cancel returns, the
// task is never posted, so the owner may destroy its executor right away.
TEST(BootTimeScheduler, CancelledTimersAreNeverPostedAfterCancelReturns)
{
    BootTimeScheduler scheduler;
    for (int round = 0; round < 50; ++round) {
        auto worker = std::make_unique<WorkerThread>("owner");
        std::atomic<int> ran{0};
        std::vector<Scheduler::TimerId> ids;
        for (int i = 0; i < 20; ++i)
            ids.push_back(scheduler.scheduleAfter(0.0005 * i, *worker, [&ran] { ++ran; }));
        for (auto id : ids)
            scheduler.cancel(id);
        const int afterCancel = (worker->drain(), ran.load());
        worker.reset(); // a late post would now touch a destroyed worker
        EXPECT_EQ(ran.load(), afterCancel);
    }
}

TEST(BootTimeScheduler, ShutdownDropsPendingTimersAndRefusesNewOnes)
{
    BootTimeScheduler scheduler;
    InlineExecutor inline_;
    bool fired = false;
    scheduler.scheduleAfter(0.01, inline_, [&] { fired = true; });
    scheduler.shutdown();
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    EXPECT_EQ(scheduler.scheduleAfter(0, inline_, [&] { fired = true; }), Scheduler::invalidTimer);
    scheduler.shutdown(); // twice is fine
    EXPECT_FALSE(fired);
}

} // namespace
