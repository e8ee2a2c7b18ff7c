#include "core/WorkerThread.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dowsel {

WorkerThread::WorkerThread(std::string name, bool lowPriority)
    : m_name(std::move(name)), m_lowPriority(lowPriority), m_thread([this] { run(); })
{
}

WorkerThread::~WorkerThread()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void WorkerThread::post(std::function<void()> task)
{
    std::lock_guard lock(m_mutex);
    if (m_stopping)
        return;
    m_tasks.push_back(std::move(task));
    // Notified under the lock: once the task has run, whoever waited for it may destroy the
    // worker, and the poster must be done with the condition variable by then.
    m_wake.notify_one();
}

void WorkerThread::drain()
{
    if (isCurrent())
        return;
    postWithResult(*this, [] {}).wait();
}

void WorkerThread::run()
{
    pthread_setname_np(pthread_self(), m_name.substr(0, 15).c_str());
    if (m_lowPriority) {
        // Background work (crawls, clean-up) must never compete with the UI.
        setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), 10);
    }
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_tasks.empty(); });
            if (m_tasks.empty())
                return;
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
    }
}

} // namespace dowsel
