#include "app/DownloadsFolder.h"

#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

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
    std::unique_ptr<DIR, int (*)(DIR *)> dir(::opendir(folder.constData()), ::closedir);
    if (!dir) {
        listing.error = QString::fromLocal8Bit(std::strerror(errno));
        return listing;
    }
    while (const dirent *entry = ::readdir(dir.get())) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == ".." || isHiddenName(name) || isPartialDownloadName(name))
            continue;
        const QByteArray path = folder + '/' + name;
        struct stat st {};
        if (::lstat(path.constData(), &st) != 0)
            continue; // gone since it was listed
        listing.snapshots.push_back(
            {std::uint64_t(st.st_ino), path, name, S_ISDIR(st.st_mode) ? 0 : std::int64_t(st.st_size)});
    }
    return listing;
}

} // namespace dowsel
