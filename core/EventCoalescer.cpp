#include "core/EventCoalescer.h"

namespace dowsel {

EventCoalescer::EventCoalescer(const Clock &clock, Scheduler &scheduler, Executor &executor, Deliver deliver)
    : m_clock(clock), m_scheduler(scheduler), m_executor(executor), m_deliver(std::move(deliver))
{
}

EventCoalescer::~EventCoalescer()
{
    m_scheduler.cancel(m_flushTimer);
}

void EventCoalescer::add(std::vector<FileEvent> events)
{
    for (FileEvent &event : events) {
        if (!m_pending.empty() && m_pending.back().path == event.path && m_pending.back().inode == event.inode
            && m_pending.back().guard == event.guard) {
            FileEvent &merged = m_pending.back();
            // "Closed after write" tells the last word of the writer: a write after the close
            // takes it back.
            if (event.flags.contains(FSEventFlags::modified) && !event.flags.contains(FSEventFlags::closedAfterWrite))
                merged.flags = merged.flags.subtracting(FSEventFlags::closedAfterWrite);
            merged.flags |= event.flags;
        } else
            m_pending.push_back(std::move(event));
    }
    if (m_pending.empty() || m_flushTimer != Scheduler::invalidTimer)
        return;
    const Seconds sinceDelivery = m_clock.continuousNow() - m_lastDelivery;
    if (!m_hasDelivered || sinceDelivery >= latency) {
        flush();
        return;
    }
    m_flushTimer = m_scheduler.scheduleAfter(latency - sinceDelivery, m_executor, m_lifetime.guard([this] {
        m_flushTimer = Scheduler::invalidTimer;
        flush();
    }));
}

void EventCoalescer::flush()
{
    if (m_pending.empty())
        return;
    const Date timestamp = m_clock.now();
    std::vector<FileEvent> batch;
    batch.swap(m_pending);
    for (FileEvent &event : batch)
        event.timestamp = timestamp;
    m_hasDelivered = true;
    m_lastDelivery = m_clock.continuousNow();
    m_deliver(std::move(batch));
}

} // namespace dowsel
