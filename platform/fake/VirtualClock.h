#pragma once

#include "platform/Time.h"

#include <map>
#include <optional>
#include <mutex>
#include <utility>

namespace dowsel {

// Test time: nothing moves until `advance` is called, and then timers fire in deadline
// order (ties in scheduling order) with the clock set to each timer's deadline. A 15-minute
// wait costs nothing.
class VirtualClock final : public Clock, public Scheduler {
public:
    explicit VirtualClock(Date start = 1'800'000'000.0) : m_wall(start) {}

    Date now() const override;
    Seconds continuousNow() const override;
    TimerId scheduleAfter(Seconds delay, Executor &executor, std::function<void()> task) override;
    void cancel(TimerId id) override;

    // Moves both clocks forward, posting every timer that falls due on the way.
    void advance(Seconds by);
    // Moves only the wall clock, as when the user changes the system time.
    void setWallClock(Date date);
    std::size_t pendingCount() const;
    // Continuous-clock deadline of the next pending timer, if any.
    std::optional<Seconds> nextDeadline() const;

private:
    struct Timer {
        Executor *executor;
        std::function<void()> task;
    };
    mutable std::mutex m_mutex;
    Date m_wall;
    Seconds m_continuous = 1000.0;
    TimerId m_nextId = 1;
    std::map<std::pair<Seconds, TimerId>, Timer> m_timers;
};

} // namespace dowsel
