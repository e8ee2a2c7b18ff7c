#pragma once

#include "platform/FolderWatcher.h"

#include <mutex>
#include <optional>

namespace dowsel {

// Records what it is asked to watch; `change` plays a kernel event. With `setWatchLimit`
// it behaves like a system that runs out of watches.
class FakeFolderWatcher final : public FolderWatcher {
public:
    void setChangeHandler(std::function<void()> onChange) override
    {
        std::lock_guard lock(m_mutex);
        m_onChange = std::move(onChange);
    }

    bool watchExactly(const std::vector<FolderEntry> &folders) override
    {
        std::lock_guard lock(m_mutex);
        m_watched = folders;
        ++m_calls;
        if (m_limit && folders.size() > *m_limit) {
            m_watched.resize(*m_limit);
            return false;
        }
        return true;
    }

    void change()
    {
        std::function<void()> handler;
        {
            std::lock_guard lock(m_mutex);
            handler = m_onChange;
        }
        if (handler)
            handler();
    }

    void setWatchLimit(std::size_t limit)
    {
        std::lock_guard lock(m_mutex);
        m_limit = limit;
    }
    // How many times the watched set was replaced: once per rebuild.
    int watchCalls() const
    {
        std::lock_guard lock(m_mutex);
        return m_calls;
    }
    std::vector<FolderEntry> watched() const
    {
        std::lock_guard lock(m_mutex);
        return m_watched;
    }

private:
    mutable std::mutex m_mutex;
    std::function<void()> m_onChange;
    std::vector<FolderEntry> m_watched;
    std::optional<std::size_t> m_limit;
    int m_calls = 0;
};

} // namespace dowsel
