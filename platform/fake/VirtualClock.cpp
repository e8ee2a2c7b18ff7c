#include "platform/fake/VirtualClock.h"

#include "platform/Executor.h"

namespace dowsel {

Date VirtualClock::now() const
{
    std::lock_guard lock(m_mutex);
    return m_wall;
}

Seconds VirtualClock::continuousNow() const
{
    std::lock_guard lock(m_mutex);
    return m_continuous;
}

Scheduler::TimerId VirtualClock::scheduleAfter(Seconds delay, Executor &executor, std::function<void()> task)
{
    std::lock_guard lock(m_mutex);
    const TimerId id = m_nextId++;
    m_timers.emplace(std::make_pair(m_continuous + (delay > 0 ? delay : 0), id), Timer{&executor, std::move(task)});
    return id;
}

void VirtualClock::cancel(TimerId id)
{
    std::lock_guard lock(m_mutex);
    for (auto it = m_timers.begin(); it != m_timers.end(); ++it) {
        if (it->first.second == id) {
            m_timers.erase(it);
            return;
        }
    }
}

void VirtualClock::advance(Seconds by)
{
    std::unique_lock lock(m_mutex);
    const Seconds target = m_continuous + by;
    while (!m_timers.empty() && m_timers.begin()->first.first <= target) {
        auto node = m_timers.extract(m_timers.begin());
        m_wall += node.key().first - m_continuous;
        m_continuous = node.key().first;
        lock.unlock();
        // Posting may run the task inline, and the task may schedule more timers.
        node.mapped().executor->post(std::move(node.mapped().task));
        lock.lock();
    }
    m_wall += target - m_continuous;
    m_continuous = target;
}

void VirtualClock::setWallClock(Date date)
{
    std::lock_guard lock(m_mutex);
    m_wall = date;
}

std::size_t VirtualClock::pendingCount() const
{
    std::lock_guard lock(m_mutex);
    return m_timers.size();
}

std::optional<Seconds> VirtualClock::nextDeadline() const
{
    std::lock_guard lock(m_mutex);
    if (m_timers.empty())
        return std::nullopt;
    return m_timers.begin()->first.first;
}

} // namespace dowsel
