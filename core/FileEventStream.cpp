#include "core/FileEventStream.h"

#include "platform/Executor.h"

namespace dowsel {

void FileEventStream::yield(std::vector<FileEvent> events)
{
    Executor *executor = nullptr;
    {
        std::lock_guard lock(m_mutex);
        if (m_finished)
            return;
        for (FileEvent &event : events)
            m_queue.push_back(std::move(event));
        executor = claimDrainLocked();
    }
    if (executor)
        executor->post([self = shared_from_this()] { self->drain(); });
}

void FileEventStream::finish()
{
    std::lock_guard lock(m_mutex);
    m_finished = true;
}

bool FileEventStream::isFinished() const
{
    std::lock_guard lock(m_mutex);
    return m_finished;
}

void FileEventStream::setConsumer(Executor *executor, Consumer consumer)
{
    {
        std::lock_guard lock(m_mutex);
        m_executor = consumer ? executor : nullptr;
        m_consumer = std::move(consumer);
        executor = claimDrainLocked();
    }
    if (executor)
        executor->post([self = shared_from_this()] { self->drain(); });
}

std::size_t FileEventStream::queuedCount() const
{
    std::lock_guard lock(m_mutex);
    return m_queue.size();
}

// At most one delivery task is queued at a time, which keeps the events in order.
Executor *FileEventStream::claimDrainLocked()
{
    if (m_drainScheduled || !m_executor || m_queue.empty())
        return nullptr;
    m_drainScheduled = true;
    return m_executor;
}

void FileEventStream::drain()
{
    for (;;) {
        std::deque<FileEvent> batch;
        Consumer consumer;
        {
            std::lock_guard lock(m_mutex);
            if (m_queue.empty() || !m_consumer) {
                m_drainScheduled = false;
                return;
            }
            batch.swap(m_queue);
            consumer = m_consumer;
        }
        for (const FileEvent &event : batch)
            consumer(event);
    }
}

} // namespace dowsel
