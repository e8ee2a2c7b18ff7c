#pragma once

#include "core/FileEvent.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace dowsel {

class Executor;

// The unbounded, ordered hand-over of file events from the monitor to their consumer. The
// producer never waits: events pile up here while the consumer is busy, and the consumer
// gets them one by one, in order, on its own executor. Events yielded before a consumer is
// set wait for it. After `finish()` nothing more is accepted; what is queued is still
// delivered. Always held by shared_ptr: queued deliveries keep it alive.
class FileEventStream : public std::enable_shared_from_this<FileEventStream> {
public:
    using Consumer = std::function<void(const FileEvent &)>;

    // Producer side, any thread.
    void yield(std::vector<FileEvent> events);
    void finish();
    bool isFinished() const;

    // Consumer side. `consumer` runs on `executor`; passing none detaches the consumer (done
    // by its owner before it goes away).
    void setConsumer(Executor *executor, Consumer consumer);
    std::size_t queuedCount() const;

private:
    Executor *claimDrainLocked();
    void drain();

    mutable std::mutex m_mutex;
    std::deque<FileEvent> m_queue;
    Executor *m_executor = nullptr;
    Consumer m_consumer;
    bool m_drainScheduled = false;
    bool m_finished = false;
};

} // namespace dowsel
