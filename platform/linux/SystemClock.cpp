#include "platform/linux/SystemClock.h"

#include "platform/Executor.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace dowsel {

namespace {

std::int64_t clockNs(clockid_t clock)
{
    timespec ts{};
    clock_gettime(clock, &ts);
    return std::int64_t(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

} // namespace

Date SystemClock::now() const
{
    return double(clockNs(CLOCK_REALTIME)) / 1e9;
}

Seconds SystemClock::continuousNow() const
{
    return double(clockNs(CLOCK_BOOTTIME)) / 1e9;
}

BootTimeScheduler::BootTimeScheduler()
{
    m_timerFd = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK);
    m_wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_timerFd < 0 || m_wakeFd < 0)
        throw std::runtime_error(std::string("cannot create the timer: ") + std::strerror(errno));
    m_thread = std::thread([this] { run(); });
}

BootTimeScheduler::~BootTimeScheduler()
{
    shutdown();
    ::close(m_timerFd);
    ::close(m_wakeFd);
}

void BootTimeScheduler::shutdown()
{
    {
        std::lock_guard dispatch(m_dispatchMutex);
        std::lock_guard lock(m_mutex);
        if (!m_thread.joinable())
            return;
        m_pending.clear();
        m_heap = {};
        m_nextId = 0; // tells the thread to stop
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(m_wakeFd, &one, sizeof one);
    m_thread.join();
}

Scheduler::TimerId BootTimeScheduler::scheduleAfter(Seconds delay, Executor &executor, std::function<void()> task)
{
    if (!(delay > 0))
        delay = 0; // also catches NaN
    const double clamped = std::min(delay, 1e9); // ~31 years: keeps the sum in range
    const std::int64_t at = clockNs(CLOCK_BOOTTIME) + std::int64_t(std::llround(clamped * 1e9));
    std::lock_guard lock(m_mutex);
    if (m_nextId == 0)
        return invalidTimer; // shut down
    const TimerId id = m_nextId++;
    m_pending.emplace(id, Pending{&executor, std::move(task)});
    m_heap.push({at, id});
    if (m_armedAtNs < 0 || at < m_armedAtNs)
        rearmLocked();
    return id;
}

void BootTimeScheduler::cancel(TimerId id)
{
    std::lock_guard dispatch(m_dispatchMutex);
    std::lock_guard lock(m_mutex);
    // The heap entry stays and is skipped when it comes up; re-arming is not worth it.
    // When cancelled entries dominate, the heap is rebuilt so memory stays bounded.
    m_pending.erase(id);
    if (m_heap.size() > 2 * m_pending.size() + 1024) {
        std::vector<Deadline> live;
        live.reserve(m_pending.size());
        while (!m_heap.empty()) {
            if (m_pending.count(m_heap.top().id))
                live.push_back(m_heap.top());
            m_heap.pop();
        }
        m_heap = decltype(m_heap)(std::greater<>(), std::move(live));
    }
}

std::size_t BootTimeScheduler::pendingCount() const
{
    std::lock_guard lock(m_mutex);
    return m_pending.size();
}

void BootTimeScheduler::rearmLocked()
{
    // Drop cancelled timers from the top so the kernel timer is armed for a live one.
    while (!m_heap.empty() && !m_pending.count(m_heap.top().id))
        m_heap.pop();
    itimerspec arm{};
    if (m_heap.empty()) {
        m_armedAtNs = -1; // disarmed: all zero
    } else {
        m_armedAtNs = std::max<std::int64_t>(m_heap.top().atNs, 1);
        arm.it_value.tv_sec = m_armedAtNs / 1'000'000'000;
        arm.it_value.tv_nsec = m_armedAtNs % 1'000'000'000;
    }
    timerfd_settime(m_timerFd, TFD_TIMER_ABSTIME, &arm, nullptr);
}

void BootTimeScheduler::run()
{
    pollfd fds[2] = {{m_timerFd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
    for (;;) {
        if (::poll(fds, 2, -1) < 0 && errno != EINTR)
            std::perror("timer poll");
        std::uint64_t count = 0;
        [[maybe_unused]] auto r1 = ::read(m_timerFd, &count, sizeof count);
        [[maybe_unused]] auto r2 = ::read(m_wakeFd, &count, sizeof count);

        std::lock_guard dispatch(m_dispatchMutex);
        std::vector<Pending> due;
        {
            std::lock_guard lock(m_mutex);
            if (m_nextId == 0)
                return;
            const std::int64_t now = clockNs(CLOCK_BOOTTIME);
            while (!m_heap.empty() && m_heap.top().atNs <= now) {
                const TimerId id = m_heap.top().id;
                m_heap.pop();
                if (auto it = m_pending.find(id); it != m_pending.end()) {
                    due.push_back(std::move(it->second));
                    m_pending.erase(it);
                }
            }
            rearmLocked();
        }
        for (auto &pending : due)
            pending.executor->post(std::move(pending.task));
    }
}

} // namespace dowsel
