#pragma once

#include "platform/Executor.h"

#include <deque>
#include <mutex>

namespace dowsel {

// Runs every task at once, on the posting thread.
class InlineExecutor final : public Executor {
public:
    void post(std::function<void()> task) override { task(); }
};

// Keeps tasks until the test runs them, so a test decides exactly when a "thread" gets to
// work. Safe to post to from any thread.
class ManualExecutor final : public Executor {
public:
    void post(std::function<void()> task) override
    {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }

    // Runs queued tasks, including those they post, until none is left. Returns how many ran.
    int runAll()
    {
        int count = 0;
        for (;;) {
            std::function<void()> task;
            {
                std::lock_guard lock(m_mutex);
                if (m_tasks.empty())
                    return count;
                task = std::move(m_tasks.front());
                m_tasks.pop_front();
            }
            task();
            ++count;
        }
    }

    std::size_t queued() const
    {
        std::lock_guard lock(m_mutex);
        return m_tasks.size();
    }

private:
    mutable std::mutex m_mutex;
    std::deque<std::function<void()>> m_tasks;
};

} // namespace dowsel
