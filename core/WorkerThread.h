#pragma once

#include "platform/Executor.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace dowsel {

// A serial executor: one thread that runs posted tasks in order. Tasks posted after
// shutdown are dropped. The destructor finishes the queued tasks, then joins.
class WorkerThread final : public Executor {
public:
    explicit WorkerThread(std::string name, bool lowPriority = false);
    ~WorkerThread() override;
    WorkerThread(const WorkerThread &) = delete;
    WorkerThread &operator=(const WorkerThread &) = delete;

    void post(std::function<void()> task) override;
    bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }
    // Blocks until every task posted before this call has run.
    void drain();

private:
    void run();

    std::string m_name;
    bool m_lowPriority;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_tasks;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace dowsel
