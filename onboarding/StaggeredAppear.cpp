#include "onboarding/StaggeredAppear.h"

namespace dowsel {

StaggeredAppear::StaggeredAppear(Scheduler &scheduler, Executor &executor)
    : m_scheduler(scheduler), m_executor(executor)
{
}

StaggeredAppear::~StaggeredAppear()
{
    cancelTimers();
}

void StaggeredAppear::restart(int count)
{
    reset();
    for (int index = 0; index < count; ++index) {
        m_timers.push_back(m_scheduler.scheduleAfter(
            firstDelay + index * interval, m_executor, [this, index, alive = std::weak_ptr<int>(m_lifetime)] {
                if (alive.expired())
                    return;
                m_shown = index + 1;
                if (onChanged)
                    onChanged();
            }));
    }
}

void StaggeredAppear::reset()
{
    cancelTimers();
    m_shown = 0;
}

void StaggeredAppear::cancelTimers()
{
    for (const Scheduler::TimerId timer : m_timers)
        m_scheduler.cancel(timer);
    m_timers.clear();
}

} // namespace dowsel
