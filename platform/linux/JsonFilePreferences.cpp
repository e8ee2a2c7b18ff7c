#include "platform/linux/JsonFilePreferences.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

JsonFilePreferences::JsonFilePreferences(QString filePath) : m_path(std::move(filePath)) {}

QString JsonFilePreferences::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/dowsel/settings.json");
}

JsonFilePreferences::Stamp JsonFilePreferences::currentStamp() const
{
    struct stat st {};
    if (::stat(QFile::encodeName(m_path).constData(), &st) != 0)
        return {};
    return {true, qint64(st.st_ino), qint64(st.st_size), qint64(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec,
            qint64(st.st_ctim.tv_sec) * 1'000'000'000 + st.st_ctim.tv_nsec};
}

void JsonFilePreferences::refreshLocked() const
{
    const Stamp stamp = currentStamp();
    if (m_loaded && stamp == m_stamp)
        return;
    m_loaded = true;
    m_stamp = stamp;
    m_values = {};
    m_broken = false;
    if (!stamp.exists)
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcPreferences).noquote() << "Cannot read settings from" << m_path << ":" << file.errorString();
        return;
    }
    const QByteArray bytes = file.readAll();
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        m_broken = !bytes.trimmed().isEmpty();
        if (m_broken) {
            qCWarning(lcPreferences).noquote() << "Settings file" << m_path
                                               << "is not a JSON object; using defaults until it is fixed or replaced";
        }
        return;
    }
    m_values = document.object();
}

std::optional<QJsonValue> JsonFilePreferences::value(const QString &key) const
{
    std::lock_guard lock(m_mutex);
    refreshLocked();
    const auto it = m_values.constFind(key);
    if (it == m_values.constEnd())
        return std::nullopt;
    return *it;
}

void JsonFilePreferences::setValue(const QString &key, const QJsonValue &value)
{
    std::lock_guard lock(m_mutex);
    refreshLocked();
    QJsonObject updated = m_values;
    updated.insert(key, value);
    writeLocked(std::move(updated));
}

void JsonFilePreferences::remove(const QString &key)
{
    std::lock_guard lock(m_mutex);
    refreshLocked();
    if (!m_values.contains(key))
        return;
    QJsonObject updated = m_values;
    updated.remove(key);
    writeLocked(std::move(updated));
}

void JsonFilePreferences::writeLocked(QJsonObject updated)
{
    // The value holds for this process even when the disk refuses it.
    m_values = updated;
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        qCWarning(lcPreferences).noquote() << "Cannot create" << info.absolutePath() << "; settings are not saved";
        return;
    }
    if (m_broken) {
        const QString backup = m_path + QStringLiteral(".broken-")
                               + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        if (!QFile::copy(m_path, backup)) {
            qCWarning(lcPreferences).noquote() << "Cannot keep a copy of the unreadable settings file" << m_path
                                               << "; leaving it untouched";
            return;
        }
        qCWarning(lcPreferences).noquote() << "Kept the unreadable settings file as" << backup;
        m_broken = false;
    }

    const QByteArray bytes = QJsonDocument(updated).toJson(QJsonDocument::Indented);
    QByteArray tmpl = QFile::encodeName(info.absolutePath() + QStringLiteral("/.settings.json.XXXXXX"));
    const int fd = ::mkstemp(tmpl.data());
    bool ok = fd >= 0;
    const char *failure = nullptr;
    if (ok) {
        ok = writeAll(fd, bytes);
        ok = ok && ::fchmod(fd, 0600) == 0 && ::fsync(fd) == 0;
        if (!ok)
            failure = std::strerror(errno);
        ok = (::close(fd) == 0) && ok;
        if (ok && ::rename(tmpl.constData(), QFile::encodeName(m_path).constData()) != 0) {
            failure = std::strerror(errno);
            ok = false;
        }
        if (!ok)
            ::unlink(tmpl.constData()); // our own temporary file, never the user's
    } else {
        failure = std::strerror(errno);
    }
    if (!ok) {
        qCWarning(lcPreferences).noquote() << "Cannot save settings to" << m_path << ":"
                                           << (failure ? failure : "write failed");
        return;
    }
    m_stamp = currentStamp();
}

} // namespace dowsel
