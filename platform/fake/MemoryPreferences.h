#pragma once

#include "platform/Preferences.h"

#include <QHash>

#include <mutex>

namespace dowsel {

class MemoryPreferences final : public Preferences {
public:
    std::optional<QJsonValue> value(const QString &key) const override
    {
        std::lock_guard lock(m_mutex);
        const auto it = m_values.constFind(key);
        if (it == m_values.constEnd())
            return std::nullopt;
        return *it;
    }
    void setValue(const QString &key, const QJsonValue &value) override
    {
        std::lock_guard lock(m_mutex);
        m_values.insert(key, value);
    }
    void remove(const QString &key) override
    {
        std::lock_guard lock(m_mutex);
        m_values.remove(key);
    }

private:
    mutable std::mutex m_mutex;
    QHash<QString, QJsonValue> m_values;
};

} // namespace dowsel
