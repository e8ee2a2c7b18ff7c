#pragma once

#include "platform/Preferences.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

namespace dowsel {

namespace prefkeys {
inline const QString moveDestinationsBySite = QStringLiteral("MoveMRU.destinationsBySite");
} // namespace prefkeys

// The folders that files from each site went to, most recent first: beside the destination
// history, one list per site ("github.com"), each capped as that history is. The sites
// themselves are capped too; the one used longest ago goes first. Saved under one
// preferences key as {"sites": [{"site": "github.com", "paths": [...]}, ...]}, most
// recently used site first. Main thread only.
class SiteDestinations {
public:
    explicit SiteDestinations(Preferences &preferences, qsizetype capacityPerSite = 20, qsizetype siteCapacity = 100,
                              QString key = prefkeys::moveDestinationsBySite);

    // Reads the saved lists; entries of the wrong shape are skipped.
    void load();
    // `path` becomes the most recent destination of `site`, and `site` the most recent site.
    // An empty site records nothing.
    void record(const QString &site, const QByteArray &path);
    // The destinations of `site`, most recent first (empty for an unknown or empty site).
    QList<QByteArray> paths(const QString &site) const;
    // The sites, most recently used first.
    QStringList sites() const;

private:
    struct Site {
        QString name;
        QList<QByteArray> paths;
    };
    void save();

    Preferences &m_preferences;
    const qsizetype m_capacityPerSite;
    const qsizetype m_siteCapacity;
    const QString m_key;
    std::vector<Site> m_sites;
};

// The history the move input ranks with: the destinations of the toast's sites first (in the
// order given), then the general history, each folder once.
QList<QByteArray> destinationsFirstFromSites(const SiteDestinations *bySite, const QStringList &sites,
                                             const QList<QByteArray> &general);
// The same list cut to the folders that still exist, at most `limit`: what the move input
// offers before anything is typed.
QList<QByteArray> existingFolders(const QList<QByteArray> &paths, qsizetype limit);

} // namespace dowsel
