#pragma once

#include "platform/Notifier.h"

#include <mutex>
#include <vector>

namespace dowsel {

// Keeps every notice it is given, from any thread.
class RecordingNotifier final : public Notifier {
public:
    void notify(const Notice &notice) override
    {
        std::lock_guard lock(m_mutex);
        m_notices.push_back(notice);
    }

    std::vector<Notice> notices() const
    {
        std::lock_guard lock(m_mutex);
        return m_notices;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Notice> m_notices;
};

} // namespace dowsel
