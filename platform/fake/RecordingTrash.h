#pragma once

#include "platform/Trash.h"

#include <QByteArrayList>

#include <mutex>

namespace dowsel {

// Records every path it is asked to trash and leaves the file where it is. `failWith` makes
// every later call fail with that text.
class RecordingTrash final : public Trash {
public:
    std::optional<QString> moveToTrash(const QByteArray &path) override
    {
        std::lock_guard lock(m_mutex);
        m_paths.append(path);
        return m_failure;
    }

    void failWith(std::optional<QString> error)
    {
        std::lock_guard lock(m_mutex);
        m_failure = std::move(error);
    }

    QByteArrayList paths() const
    {
        std::lock_guard lock(m_mutex);
        return m_paths;
    }

private:
    mutable std::mutex m_mutex;
    QByteArrayList m_paths;
    std::optional<QString> m_failure;
};

} // namespace dowsel
