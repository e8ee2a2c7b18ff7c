#pragma once

#include <cstdint>
#include <functional>

namespace dowsel {

class Executor;

// Time spans in seconds. Dates are wall-clock instants in seconds since the Unix epoch.
using Seconds = double;
using Date = double;

// Where "now" comes from. Wall-clock time stamps records; the continuous clock measures
// waits and keeps counting while the machine is suspended.
class Clock {
public:
    virtual ~Clock() = default;
    virtual Date now() const = 0;
    virtual Seconds continuousNow() const = 0;
};

// One-shot timers on the continuous clock. A timer's task is posted to the executor it was
// scheduled with, so it runs on its owner's thread. Cancelling a timer that already fired,
// or an unknown id, does nothing.
class Scheduler {
public:
    using TimerId = std::uint64_t;
    static constexpr TimerId invalidTimer = 0;

    virtual ~Scheduler() = default;
    virtual TimerId scheduleAfter(Seconds delay, Executor &executor, std::function<void()> task) = 0;
    virtual void cancel(TimerId id) = 0;
};

} // namespace dowsel
