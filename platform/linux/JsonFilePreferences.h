#pragma once

#include "platform/Preferences.h"

#include <QJsonObject>

#include <mutex>

namespace dowsel {

// Preferences in one JSON object on disk (settings.json). Each read checks whether the file
// changed since it was last parsed, so edits by another process are seen at once. Writes go
// through a temporary file and a rename. A file that is not a JSON object reads as empty and
// is copied aside before the first write replaces it.
class JsonFilePreferences final : public Preferences {
public:
    explicit JsonFilePreferences(QString filePath);

    // $XDG_CONFIG_HOME/dowsel/settings.json
    static QString defaultPath();

    std::optional<QJsonValue> value(const QString &key) const override;
    void setValue(const QString &key, const QJsonValue &value) override;
    void remove(const QString &key) override;

    const QString &filePath() const { return m_path; }

private:
    struct Stamp {
        bool exists = false;
        qint64 inode = 0, size = 0, mtimeNs = 0, ctimeNs = 0;
        bool operator==(const Stamp &) const = default;
    };

    void refreshLocked() const;
    void writeLocked(QJsonObject updated);
    Stamp currentStamp() const;

    QString m_path;
    mutable std::mutex m_mutex;
    mutable bool m_loaded = false;
    mutable Stamp m_stamp;
    mutable QJsonObject m_values;
    mutable bool m_broken = false;
};

} // namespace dowsel
