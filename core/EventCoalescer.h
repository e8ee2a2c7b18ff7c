#pragma once

#include "core/FileEvent.h"
#include "core/Lifetime.h"
#include "platform/Time.h"

#include <functional>
#include <vector>

namespace dowsel {

class Executor;

// Groups file events into batches. The first events after a quiet period go out at once;
// whatever follows within `latency` of a delivery waits and goes out together when the
// latency has passed. Every event of a batch gets the same time stamp, taken at delivery.
// Consecutive events for the same path and inode are merged into one (their flags OR-ed),
// so a file written in many chunks costs the consumer one event, not hundreds.
// Runs on one executor: `add` is called there, the latency timer fires there, and it is
// destroyed there.
class EventCoalescer {
public:
    using Deliver = std::function<void(std::vector<FileEvent>)>;
    static constexpr Seconds latency = 0.3;

    EventCoalescer(const Clock &clock, Scheduler &scheduler, Executor &executor, Deliver deliver);
    ~EventCoalescer();
    EventCoalescer(const EventCoalescer &) = delete;
    EventCoalescer &operator=(const EventCoalescer &) = delete;

    void add(std::vector<FileEvent> events);
    std::size_t pendingCount() const { return m_pending.size(); }

private:
    void flush();

    const Clock &m_clock;
    Scheduler &m_scheduler;
    Executor &m_executor;
    Deliver m_deliver;
    std::vector<FileEvent> m_pending;
    Scheduler::TimerId m_flushTimer = Scheduler::invalidTimer;
    bool m_hasDelivered = false;
    Seconds m_lastDelivery = 0; // continuous clock
    Lifetime m_lifetime;
};

} // namespace dowsel
