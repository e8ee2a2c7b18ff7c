#include "move/SiteDestinations.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

#include <sys/stat.h>

namespace dowsel {

SiteDestinations::SiteDestinations(Preferences &preferences, qsizetype capacityPerSite, qsizetype siteCapacity,
                                   QString key)
    : m_preferences(preferences), m_capacityPerSite(std::max<qsizetype>(capacityPerSite, 1)),
      m_siteCapacity(std::max<qsizetype>(siteCapacity, 1)), m_key(std::move(key))
{
    load();
}

void SiteDestinations::load()
{
    m_sites.clear();
    const auto stored = m_preferences.value(m_key);
    if (!stored || !stored->isObject())
        return;
    const QJsonArray sites = stored->toObject().value(QStringLiteral("sites")).toArray();
    for (const QJsonValue &entry : sites) {
        const QJsonObject object = entry.toObject();
        const QString name = object.value(QStringLiteral("site")).toString();
        if (name.isEmpty() || std::any_of(m_sites.begin(), m_sites.end(), [&](const Site &s) { return s.name == name; }))
            continue;
        Site site{name, {}};
        for (const QJsonValue &path : object.value(QStringLiteral("paths")).toArray()) {
            if (path.isString() && !path.toString().isEmpty() && !site.paths.contains(path.toString().toUtf8()))
                site.paths.append(path.toString().toUtf8());
        }
        if (site.paths.isEmpty())
            continue;
        site.paths.resize(std::min(site.paths.size(), m_capacityPerSite));
        m_sites.push_back(std::move(site));
        if (qsizetype(m_sites.size()) == m_siteCapacity)
            break;
    }
}

void SiteDestinations::record(const QString &site, const QByteArray &path)
{
    if (site.isEmpty() || path.isEmpty())
        return;
    Site entry{site, {}};
    const auto found = std::find_if(m_sites.begin(), m_sites.end(), [&](const Site &s) { return s.name == site; });
    if (found != m_sites.end()) {
        entry = std::move(*found);
        m_sites.erase(found);
    }
    entry.paths.removeAll(path);
    entry.paths.prepend(path);
    if (entry.paths.size() > m_capacityPerSite)
        entry.paths.resize(m_capacityPerSite);
    m_sites.insert(m_sites.begin(), std::move(entry));
    if (qsizetype(m_sites.size()) > m_siteCapacity)
        m_sites.resize(std::size_t(m_siteCapacity));
    save();
}

QList<QByteArray> SiteDestinations::paths(const QString &site) const
{
    const auto found = std::find_if(m_sites.begin(), m_sites.end(), [&](const Site &s) { return s.name == site; });
    return found == m_sites.end() || site.isEmpty() ? QList<QByteArray>{} : found->paths;
}

QStringList SiteDestinations::sites() const
{
    QStringList names;
    for (const Site &site : m_sites)
        names << site.name;
    return names;
}

void SiteDestinations::save()
{
    QJsonArray sites;
    for (const Site &site : m_sites) {
        QJsonArray paths;
        for (const QByteArray &path : site.paths) {
            // A path that is not valid UTF-8 cannot be written as a text: kept for this session.
            const QString text = QString::fromUtf8(path);
            if (text.toUtf8() == path)
                paths.append(text);
        }
        if (!paths.isEmpty())
            sites.append(QJsonObject{{QStringLiteral("site"), site.name}, {QStringLiteral("paths"), paths}});
    }
    m_preferences.setValue(m_key, QJsonObject{{QStringLiteral("sites"), sites}});
}

QList<QByteArray> destinationsFirstFromSites(const SiteDestinations *bySite, const QStringList &sites,
                                             const QList<QByteArray> &general)
{
    QList<QByteArray> merged;
    if (bySite) {
        for (const QString &site : sites) {
            for (const QByteArray &path : bySite->paths(site)) {
                if (!merged.contains(path))
                    merged.append(path);
            }
        }
    }
    for (const QByteArray &path : general) {
        if (!merged.contains(path))
            merged.append(path);
    }
    return merged;
}

QList<QByteArray> existingFolders(const QList<QByteArray> &paths, qsizetype limit)
{
    QList<QByteArray> existing;
    for (const QByteArray &path : paths) {
        if (existing.size() >= limit)
            break;
        struct stat status;
        if (::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode))
            existing.append(path);
    }
    return existing;
}

} // namespace dowsel
