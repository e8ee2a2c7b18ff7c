#include "move/MoveMRU.h"

#include <QJsonArray>

#include <sys/stat.h>

namespace dowsel {

namespace {

bool isFolder(const QByteArray &path)
{
    struct stat status;
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

MoveMRU::MoveMRU(Preferences &preferences, QString key, qsizetype capacity)
    : m_preferences(preferences), m_key(std::move(key)), m_capacity(capacity)
{
    load();
}

void MoveMRU::load()
{
    m_paths.clear();
    const auto stored = m_preferences.value(m_key);
    if (!stored || !stored->isArray())
        return;
    const QJsonArray array = stored->toArray();
    QList<QByteArray> loaded;
    loaded.reserve(array.size());
    for (const QJsonValue &entry : array) {
        if (!entry.isString())
            return; // one bad entry spoils the whole list; the stored value stays until the next save
        loaded.append(entry.toString().toUtf8());
    }
    m_paths = std::move(loaded);
}

void MoveMRU::record(const QByteArray &path)
{
    m_paths.removeAll(path);
    m_paths.prepend(path);
    if (m_paths.size() > m_capacity)
        m_paths.resize(m_capacity);
    save();
}

QList<QByteArray> MoveMRU::suggestions(qsizetype limit)
{
    QList<QByteArray> existing;
    for (const QByteArray &path : std::as_const(m_paths)) {
        if (isFolder(path))
            existing.append(path);
    }
    if (existing.size() != m_paths.size()) {
        m_paths = existing;
        save();
    }
    return existing.mid(0, std::max<qsizetype>(limit, 0));
}

void MoveMRU::save()
{
    QJsonArray array;
    for (const QByteArray &path : std::as_const(m_paths)) {
        const QString text = QString::fromUtf8(path);
        if (text.toUtf8() == path)
            array.append(text);
    }
    m_preferences.setValue(m_key, array);
}

} // namespace dowsel
