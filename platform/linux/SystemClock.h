#pragma once

#include "platform/Time.h"

#include <condition_variable>
#include <mutex>
#include <atomic>
#include <queue>
#include <thread>
#include <unordered_map>
#include <vector>

namespace dowsel {

// Wall clock from CLOCK_REALTIME, continuous time from CLOCK_BOOTTIME (it keeps counting
// while the machine sleeps).
class SystemClock final : public Clock {
public:
    Date now() const override;
    Seconds continuousNow() const override;
};

// All timers of the process share one timerfd on CLOCK_BOOTTIME, armed at the earliest
// deadline of a min-heap. Nothing wakes the process while no timer is due, and a deadline
// that passed during suspend fires right after wake-up. Tasks go to their executors; the
// timer thread itself only pops the heap. Executors passed in must outlive the scheduler.
class BootTimeScheduler final : public Scheduler {
public:
    BootTimeScheduler();
    ~BootTimeScheduler() override;
    BootTimeScheduler(const BootTimeScheduler &) = delete;
    BootTimeScheduler &operator=(const BootTimeScheduler &) = delete;

    TimerId scheduleAfter(Seconds delay, Executor &executor, std::function<void()> task) override;
    // Once cancel returns, the task is not posted any more: it either was already, or never is.
    void cancel(TimerId id) override;
    // Drops every pending timer and stops the timer thread; later calls schedule nothing.
    // The app calls it before tearing down the executors that timers post to.
    void shutdown();

    std::size_t pendingCount() const;

private:
    struct Pending {
        Executor *executor;
        std::function<void()> task;
    };
    struct Deadline {
        std::int64_t atNs;
        TimerId id;
        bool operator>(const Deadline &other) const
        {
            return atNs != other.atNs ? atNs > other.atNs : id > other.id;
        }
    };

    void run();
    void rearmLocked();

    // Held while due timers are taken and posted, and by cancel: a cancelled timer is never
    // posted after cancel returns. Recursive because a task run inline may cancel a timer.
    std::recursive_mutex m_dispatchMutex;
    int m_timerFd = -1;
    int m_wakeFd = -1;
    mutable std::mutex m_mutex;
    std::priority_queue<Deadline, std::vector<Deadline>, std::greater<>> m_heap;
    std::unordered_map<TimerId, Pending> m_pending;
    TimerId m_nextId = 1;
    std::int64_t m_armedAtNs = -1;
    std::thread m_thread;
};

} // namespace dowsel
