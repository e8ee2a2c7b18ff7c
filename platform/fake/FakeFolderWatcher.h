#pragma once

#include "platform/FolderWatcher.h"

#include <mutex>
#include <optional>
#include <set>

namespace dowsel {

// Records what it is asked to watch; `change` plays kernel news. With `setWatchLimit` it
// behaves like a system that runs out of watches.
class FakeFolderWatcher final : public FolderWatcher {
public:
    void setChangeHandler(std::function<void(std::vector<FolderChange>)> onChanges) override
    {
        std::lock_guard lock(m_mutex);
        m_onChanges = std::move(onChanges);
    }

    void setMarkerNames(std::vector<QByteArray> names) override
    {
        std::lock_guard lock(m_mutex);
        m_markerNames = std::move(names);
    }

    WatchResult watch(const QByteArray &path) override
    {
        std::lock_guard lock(m_mutex);
        ++m_watchCalls;
        if (m_watched.contains(path))
            return WatchResult::watched;
        if (m_limit && m_watched.size() >= *m_limit)
            return WatchResult::limitReached;
        m_watched.insert(path);
        return WatchResult::watched;
    }

    void unwatch(const QByteArray &path) override
    {
        std::lock_guard lock(m_mutex);
        m_watched.erase(path);
    }

    std::size_t watchCount() const override
    {
        std::lock_guard lock(m_mutex);
        return m_watched.size();
    }

    void change(std::vector<FolderChange> changes)
    {
        std::function<void(std::vector<FolderChange>)> handler;
        {
            std::lock_guard lock(m_mutex);
            handler = m_onChanges;
        }
        if (handler)
            handler(std::move(changes));
    }

    void setWatchLimit(std::size_t limit)
    {
        std::lock_guard lock(m_mutex);
        m_limit = limit;
    }
    // How many times watch() was called, including for folders already watched.
    int watchCalls() const
    {
        std::lock_guard lock(m_mutex);
        return m_watchCalls;
    }
    std::set<QByteArray> watched() const
    {
        std::lock_guard lock(m_mutex);
        return m_watched;
    }
    std::vector<QByteArray> markerNames() const
    {
        std::lock_guard lock(m_mutex);
        return m_markerNames;
    }

private:
    mutable std::mutex m_mutex;
    std::function<void(std::vector<FolderChange>)> m_onChanges;
    std::vector<QByteArray> m_markerNames;
    std::set<QByteArray> m_watched;
    std::optional<std::size_t> m_limit;
    int m_watchCalls = 0;
};

} // namespace dowsel
