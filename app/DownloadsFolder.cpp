#include "app/DownloadsFolder.h"

#include "core/PosixFiles.h"

#include <QFile>
#include <QStandardPaths>

namespace dowsel {

QByteArray downloadsPath()
{
    static const QByteArray path = [] {
        QString location = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
        if (location.isEmpty())
            location = QStandardPaths::writableLocation(QStandardPaths::HomeLocation) + QStringLiteral("/Downloads");
        return QFile::encodeName(location);
    }();
    return path;
}

bool isHiddenName(const QByteArray &name)
{
    return name.startsWith('.');
}

bool isPartialDownloadName(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    if (dot <= 0)
        return false;
    const QByteArray extension = name.mid(dot + 1).toLower();
    return extension == "crdownload" || extension == "part" || extension == "download";
}

DownloadsListing listDownloads(const QByteArray &folder)
{
    DownloadsListing listing;
    const auto names = listDirectory(folder);
    if (!names) {
        listing.error = errnoText();
        return listing;
    }
    for (const QByteArray &name : *names) {
        if (isHiddenName(name) || isPartialDownloadName(name))
            continue;
        const QByteArray path = joinPath(folder, name);
        const auto status = statPath(path);
        if (!status)
            continue; // gone since it was listed
        listing.snapshots.push_back({status->identity(), path, name, status->isDirectory ? 0 : status->size});
    }
    return listing;
}

} // namespace dowsel
