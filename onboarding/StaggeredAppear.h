#pragma once

#include "platform/Time.h"

#include <functional>
#include <memory>
#include <vector>

namespace dowsel {

class Executor;

// Brings a step's items in one after another: item i appears `firstDelay` + i × `interval`
// after a restart. The view fades each item in as it appears.
class StaggeredAppear {
public:
    static constexpr Seconds firstDelay = 0.08;
    static constexpr Seconds interval = 0.06;

    StaggeredAppear(Scheduler &scheduler, Executor &executor);
    ~StaggeredAppear();
    StaggeredAppear(const StaggeredAppear &) = delete;
    StaggeredAppear &operator=(const StaggeredAppear &) = delete;

    // Hides every item and starts bringing `count` items in.
    void restart(int count);
    // Hides every item and stops.
    void reset();
    bool isShown(int index) const { return index < m_shown; }
    int shownCount() const { return m_shown; }

    std::function<void()> onChanged;

private:
    void cancelTimers();

    Scheduler &m_scheduler;
    Executor &m_executor;
    int m_shown = 0;
    std::vector<Scheduler::TimerId> m_timers;
    // A timer already handed to the executor checks this before touching the object.
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

} // namespace dowsel
